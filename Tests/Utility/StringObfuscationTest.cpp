#include <LumoKit/Utility/StringObfuscation.h>

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

Symbol at(std::size_t index)
{
    return static_cast<Symbol>(index);
}

TEST(Symbol, HasItsCasesInOrder)
{
    EXPECT_EQ(symbolCount, 62u);
    EXPECT_EQ(Symbol::a, at(0));
    EXPECT_EQ(Symbol::z, at(25));
    EXPECT_EQ(Symbol::A, at(26));
    EXPECT_EQ(Symbol::Z, at(51));
    EXPECT_EQ(Symbol::_0, at(52));
    EXPECT_EQ(Symbol::_9, at(symbolCount - 1));
}

TEST(Symbol, HasARawValueOfOneCharacterThatNoOtherHas)
{
    std::set<std::string_view> values;
    for (std::size_t index = 0; index < symbolCount; ++index) {
        EXPECT_EQ(rawValue(at(index)).size(), 1u) << index;
        values.insert(rawValue(at(index)));
    }
    EXPECT_EQ(values.size(), symbolCount);
}

TEST(Symbol, IsMadeFromItsRawValue)
{
    for (std::size_t index = 0; index < symbolCount; ++index)
        EXPECT_EQ(symbol(rawValue(at(index))), at(index)) << index;
}

TEST(Symbol, IsNotMadeFromAnyOtherText)
{
    for (const auto text : {""sv, "ab"sv, "hi"sv, "abcdef"sv, "_"sv, "_0"sv, " "sv, "-"sv, "\0"sv, "a\0"sv,
             "\u00E4"sv, "\xFF"sv, "/"sv, ":"sv, "@"sv, "["sv, "`"sv, "{"sv})
        EXPECT_EQ(symbol(text), std::nullopt) << text;
}

TEST(Symbol, IsComparedAndHashed)
{
    EXPECT_NE(Symbol::a, Symbol::A);
    const std::unordered_set<Symbol> symbols{Symbol::h, Symbol::i, Symbol::h};
    EXPECT_EQ(symbols.size(), 2u);
    EXPECT_TRUE(symbols.contains(Symbol::i));
}

TEST(TextOfSymbols, SpellsThemInTheirOrder)
{
    using enum Symbol;
    EXPECT_EQ(text(std::array{h, i}), "hi");
    EXPECT_EQ(text(std::array{i, h, h}), "ihh");
    EXPECT_EQ(text(std::array{T, e, a, _4, _2}), "Tea42");
}

TEST(TextOfSymbols, IsEmptyForNone)
{
    EXPECT_EQ(text({}), "");
}

TEST(TextOfSymbols, HasTheRawValueOfEach)
{
    for (std::size_t index = 0; index < symbolCount; ++index)
        EXPECT_EQ(text(std::array{at(index)}), rawValue(at(index)));
}

} // namespace
