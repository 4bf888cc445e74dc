#include "Foundation/PropertyListShape.h"

#include "Support/BinaryList.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using LumoKit::detail::isSoundBinary;
using LumoKit::detail::isSoundXML;
using LumoKit::detail::memoryOfBinary;
using LumoKit::Test::BinaryList;

std::string repeated(std::string_view text, int times)
{
    std::string all;
    for (int time = 0; time < times; ++time)
        all += text;
    return all;
}

TEST(PropertyListShape, OfXMLIsBoundedInDepth)
{
    EXPECT_TRUE(isSoundXML("<plist><dict><key>k</key><array/></dict></plist>"));
    EXPECT_TRUE(isSoundXML(repeated("<array>", 4096) + repeated("</array>", 4096)));
    EXPECT_FALSE(isSoundXML(repeated("<array>", 4097)));
    EXPECT_FALSE(isSoundXML(repeated("<dict><key>k</key>", 4097)));
}

TEST(PropertyListShape, OfXMLCountsOnlyWhatIsOpen)
{
    EXPECT_TRUE(isSoundXML("<array>" + repeated("<array></array><dict/>", 10'000) + "</array>"));
    EXPECT_TRUE(isSoundXML("<!-- " + repeated("<array>", 10'000) + " -->"));
    EXPECT_TRUE(isSoundXML("<string><![CDATA[" + repeated("<array>", 10'000) + "]]></string>"));
}

TEST(PropertyListShape, OfXMLIsNotHiddenBehindComments)
{
    EXPECT_FALSE(isSoundXML(repeated("<array><!-- </array> -->", 5000)));
    EXPECT_FALSE(isSoundXML(repeated("<array><![CDATA[</array>]]>", 5000)));
    EXPECT_FALSE(isSoundXML(repeated("<array></string>", 5000)));
}

TEST(PropertyListShape, OfXMLNeedsNoWholeText)
{
    for (const char* text : {"", "<", "<a", "<!--", "<!-- -", "<![CDATA[", "</", ">", "<>", "</>", "text"})
        EXPECT_TRUE(isSoundXML(text)) << text;
}

/// A binary list of arrays; each item is the list of the objects that it refers to, and the last one is the
/// top.
std::string binary(const std::vector<std::vector<int>>& arrays)
{
    std::string bytes = "bplist00";
    std::vector<std::size_t> offsets;
    const auto big = [&](std::uint64_t number, int size) {
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
            bytes += static_cast<char>(number >> shift);
    };
    for (const auto& references : arrays) {
        offsets.push_back(bytes.size());
        bytes += '\xAF';
        bytes += '\x12';
        big(references.size(), 4);
        for (const int reference : references)
            big(static_cast<std::uint64_t>(reference), 4);
    }
    const std::size_t table = bytes.size();
    for (const std::size_t offset : offsets)
        big(offset, 4);
    bytes += std::string(6, '\0') + "\x04\x04";
    big(arrays.size(), 8);
    big(arrays.size() - 1, 8);
    big(table, 8);
    return bytes;
}

TEST(PropertyListShape, OfABinaryListIsBoundedInDepth)
{
    const auto chain = [](int levels) {
        std::vector<std::vector<int>> arrays = {{}};
        for (int level = 1; level < levels; ++level)
            arrays.push_back({level - 1});
        return binary(arrays);
    };
    EXPECT_TRUE(isSoundBinary(chain(1)));
    EXPECT_TRUE(isSoundBinary(chain(4096)));
    EXPECT_FALSE(isSoundBinary(chain(4097)));
    EXPECT_FALSE(isSoundBinary(chain(100'000)));
}

TEST(PropertyListShape, OfABinaryListIsBoundedInWhatItWouldBeWrittenOut)
{
    const auto doubling = [](int levels) {
        std::vector<std::vector<int>> arrays = {{}};
        for (int level = 1; level < levels; ++level)
            arrays.push_back({level - 1, level - 1});
        return binary(arrays);
    };
    EXPECT_TRUE(isSoundBinary(doubling(20)));
    EXPECT_FALSE(isSoundBinary(doubling(23)));
    EXPECT_FALSE(isSoundBinary(doubling(4000)));
}

TEST(PropertyListShape, OfABinaryListCountsEachTextAsOftenAsItIsReferredTo)
{
    const auto texts = [](int times, bool asKeys, const std::string& text) {
        BinaryList list;
        const std::vector<int> items(static_cast<std::size_t>(times), list.ascii(text));
        return list.list(asKeys ? list.dictionary(items, items) : list.array(items));
    };
    EXPECT_TRUE(isSoundBinary(texts(100, false, std::string(1'000'000, 'x'))));
    EXPECT_FALSE(isSoundBinary(texts(1000, false, std::string(1'000'000, 'x'))));
    EXPECT_TRUE(isSoundBinary(texts(100, true, std::string(1'000'000, 'x'))));
    EXPECT_FALSE(isSoundBinary(texts(1000, true, std::string(1'000'000, 'x'))));
}

TEST(PropertyListShape, OfABinaryListIsBoundedByWhatItMayNeed)
{
    BinaryList list;
    const std::string bytes = list.list(list.array({list.ascii(std::string(10'000, 'x'))}));
    const auto memory = memoryOfBinary(bytes, 1'000'000);
    ASSERT_TRUE(memory.has_value());
    EXPECT_GT(*memory, 10'000u);
    EXPECT_LT(*memory, 11'000u);
    EXPECT_EQ(memoryOfBinary(bytes, *memory), memory);
    EXPECT_EQ(memoryOfBinary(bytes, *memory - 1), std::nullopt);
    BinaryList alone;
    EXPECT_EQ(memoryOfBinary(alone.list(alone.ascii(std::string(10'000, 'x'))), 10'000), std::nullopt);
}

TEST(PropertyListShape, OfABinaryListWhoseObjectsOverlapIsFoundSoon)
{
    // Each object is an array that begins a little later in the same bytes and refers to the next one first.
    constexpr int count = 4000;
    constexpr int size = 2'000'000;
    std::string bytes = "bplist00";
    std::string offsets;
    const auto big = [](std::uint64_t number, int length) {
        return LumoKit::Test::bigEndian(number, length);
    };
    for (int object = 0; object < count; ++object) {
        offsets += big(bytes.size(), 4);
        bytes += "\xAF\x12" + big(static_cast<std::uint64_t>(size), 4)
            + big(static_cast<std::uint64_t>(object) + 1, 2);
    }
    bytes += std::string(2 * size + 16, '\xFF');
    const std::size_t table = bytes.size();
    bytes += offsets + std::string(6, '\0') + "\x04\x02" + big(count, 8) + big(0, 8) + big(table, 8);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(isSoundBinary(bytes));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(PropertyListShape, OfABinaryListHasNoCycle)
{
    EXPECT_FALSE(isSoundBinary(binary({{0}})));
    EXPECT_FALSE(isSoundBinary(binary({{2}, {0}, {1}})));
}

TEST(PropertyListShape, OfABinaryListNeedsNoSoundBytes)
{
    const std::string sound = binary({{}, {0, 7, 0}, {1}}); // 7 refers to nothing
    EXPECT_TRUE(isSoundBinary(sound));
    for (std::size_t length = 0; length < sound.size(); ++length)
        static_cast<void>(isSoundBinary(sound.substr(length)));
    for (std::size_t at = 0; at < sound.size(); ++at)
        for (const int byte : {0x00, 0x01, 0x7F, 0xAF, 0xDF, 0xFF}) {
            std::string damaged = sound;
            damaged[at] = static_cast<char>(byte);
            static_cast<void>(isSoundBinary(damaged)); // says something, soon, and reads no byte beyond
        }
}

TEST(PropertyListShape, OfXMLHoldsNoNul)
{
    using namespace std::string_view_literals;
    for (const auto text :
        {"<key>a\0b</key>"sv, "<key>&#0;</key>"sv, "<key>&#x00;</key>"sv, "<string>&#X0;</string>"sv})
        EXPECT_FALSE(isSoundXML(text)) << text;
    for (const auto text :
        {"<key>&#10;</key>"sv, "<key>&#x0A;</key>"sv, "<key>&#</key>"sv, "<key>&#;</key>"sv, "&#0"sv})
        EXPECT_TRUE(isSoundXML(text)) << text;
}

} // namespace
