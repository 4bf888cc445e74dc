#include "Support/Printing.h"

#include <LumoKit/Platform/Foundation/JSONDecoder.h>
#include <LumoKit/Platform/Foundation/JSONEncoder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

using namespace LumoKit;

namespace {

struct Part {
    std::string name;
    std::optional<double> weight;

    bool operator==(const Part&) const = default;
    static constexpr std::tuple codingKeys{
        CodingKey{"name", &Part::name}, CodingKey{"weight", &Part::weight}};
};

struct Machine {
    std::uint32_t zeal = 0;
    std::vector<Part> parts;
    std::map<std::string, bool> flags;
    std::optional<URL> manual;
    Date built;
    Data image;
    std::vector<std::optional<int>> holes;

    bool operator==(const Machine&) const = default;
    static constexpr std::tuple codingKeys{CodingKey{"zeal", &Machine::zeal},
        CodingKey{"parts", &Machine::parts}, CodingKey{"flags", &Machine::flags},
        CodingKey{"manual", &Machine::manual}, CodingKey{"built", &Machine::built},
        CodingKey{"image", &Machine::image}, CodingKey{"holes", &Machine::holes}};
};

struct Tree {
    std::vector<Tree> children;

    static constexpr std::tuple codingKeys{CodingKey{"c", &Tree::children}};
};

Machine machine()
{
    return {.zeal = 4'000'000'000,
        .parts = {{"cog", 1.5}, {"\"rod\"", std::nullopt}},
        .flags = {{"on", true}, {"hot", false}},
        .manual = URL::parse("https://example.com/a?b"),
        .built = Date(std::chrono::duration<double>(978307200.5)),
        .image = {std::byte{0}, std::byte{255}},
        .holes = {1, std::nullopt, 3}};
}

TEST(JSONEncoder, WritesARecordInTheOrderOfItsKeys)
{
    EXPECT_EQ(JSONEncoder().encode(machine()),
        R"({"zeal":4000000000,"parts":[{"name":"cog","weight":1.5},{"name":"\"rod\""}],)"
        R"("flags":{"hot":false,"on":true},"manual":"https://example.com/a?b","built":0.5,"image":"AP8=",)"
        R"("holes":[1,null,3]})");
}

TEST(JSONEncoder, LeavesOutWhatIsAbsent)
{
    EXPECT_EQ(JSONEncoder().encode(Part{"a", std::nullopt}), R"({"name":"a"})");
    EXPECT_EQ(JSONEncoder().encode(std::optional<int>()), "null");
}

TEST(JSONEncoder, WritesWhatTheDecoderReads)
{
    const auto text = JSONEncoder().encode(machine());
    ASSERT_TRUE(text.has_value());
    const auto again = JSONDecoder().decode<Machine>(*text);
    ASSERT_TRUE(again.has_value()) << again.error().description;
    EXPECT_EQ(*again, machine());
}

TEST(JSONEncoder, WritesValuesThatAreNoRecord)
{
    EXPECT_EQ(JSONEncoder().encode(true), "true");
    EXPECT_EQ(JSONEncoder().encode(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(JSONEncoder().encode(1.0), "1");
    EXPECT_EQ(JSONEncoder().encode(std::string("a\n")), R"("a\n")");
    EXPECT_EQ(JSONEncoder().encode(std::vector<bool>{true, false}), "[true,false]");
    EXPECT_EQ(JSONEncoder().encode(Data{}), R"("")");
    EXPECT_EQ(JSONEncoder().encode(std::map<std::string, std::vector<int>>{}), "{}");
}

TEST(JSONEncoder, SaysWhatCannotBeWrittenAndWhere)
{
    const auto expectError = [](const Machine& value, EncodingError kind, std::string_view description) {
        const auto text = JSONEncoder().encode(value);
        ASSERT_FALSE(text.has_value());
        EXPECT_EQ(text.error(),
            (Error{std::string(encodingErrorDomain), static_cast<int>(kind), std::string(description)}));
    };
    constexpr double infinity = std::numeric_limits<double>::infinity();
    using enum EncodingError;
    expectError(
        {.parts = {{"a", 1}, {"b", infinity}}}, numberNotFinite, "parts[1].weight: JSON has no such number");
    expectError({.built = Date(std::chrono::duration<double>(-infinity))}, numberNotFinite,
        "built: JSON has no such number");
    expectError({.parts = {{"\xFF", 1}}}, textNotUTF8, "parts[0].name: the text is not UTF-8");
    expectError({.flags = {{"a", true}, {"\xFF", true}}}, textNotUTF8, "flags[?]: the key is not UTF-8");
}

TEST(JSONEncoder, WritesARecordThatHoldsItselfUpToTheLimit)
{
    Tree tree;
    for (int level = 1; level < Value::maximumDepth / 2; ++level) {
        Tree parent;
        parent.children.push_back(std::move(tree));
        tree = std::move(parent);
    }
    const auto text = JSONEncoder().encode(tree);
    ASSERT_TRUE(text.has_value());
    EXPECT_TRUE(JSONDecoder().decode<Tree>(*text).has_value());
    Tree parent;
    parent.children.push_back(std::move(tree));
    const auto tooDeep = JSONEncoder().encode(parent);
    ASSERT_FALSE(tooDeep.has_value());
    EXPECT_EQ(tooDeep.error().code, static_cast<int>(EncodingError::tooDeep));
}

} // namespace
