#include "Foundation/BinaryPropertyListWriter.h"

#include <LumoKit/Platform/Foundation/PropertyList.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace LumoKit;
using detail::BinaryPropertyListWriter;

namespace {

using Index = BinaryPropertyListWriter::Index;

TEST(BinaryPropertyListWriter, WritesWhatIsRead)
{
    BinaryPropertyListWriter list;
    const std::string nul("a\0b", 3);
    const std::string bytes(300, '\xFE');
    const auto* first = reinterpret_cast<const std::byte*>(bytes.data());
    Value::Array expected{true, false, 0.5, Data(first, first + bytes.size()), "", "text",
        std::string(15, 'x'), std::string(70'000, 'y'), nul, "\u00E9 \u20AC \U0001F600", std::uint64_t(7),
        Value::Array{}};
    std::vector<Index> items{list.boolean(true), list.boolean(false), list.real(0.5), list.data(bytes),
        list.text(""), list.text("text"), list.text(std::string(15, 'x')),
        list.text(std::string(70'000, 'y')), list.text(nul), list.text("\u00E9 \u20AC \U0001F600"),
        list.reference(7), list.array({})};
    using Limits = std::numeric_limits<std::int64_t>;
    for (const std::int64_t number : {std::int64_t(0), std::int64_t(255), std::int64_t(256),
             std::int64_t(65'535), std::int64_t(65'536), std::int64_t(4'294'967'295),
             std::int64_t(4'294'967'296), std::int64_t(-1), Limits::min(), Limits::max()}) {
        expected.emplace_back(number);
        items.push_back(list.integer(number));
    }
    const Index key = list.text("key");
    const Index other = list.text("other");
    const Index keys[]{key, other};
    const Index values[]{list.array(items), key};
    EXPECT_EQ(readPropertyList(list.list(list.dictionary(keys, values))),
        Value(Value::Dictionary{{"key", expected}, {"other", "key"}}));
}

TEST(BinaryPropertyListWriter, WritesEqualTextsAndReferencesOnce)
{
    BinaryPropertyListWriter list;
    EXPECT_EQ(list.text("text"), list.text("text"));
    EXPECT_NE(list.text("text"), list.text("Text"));
    EXPECT_EQ(list.reference(1), list.reference(1));
    EXPECT_NE(list.reference(1), list.reference(2));
}

TEST(BinaryPropertyListWriter, NumbersAnyCountOfObjects)
{
    for (const int count : {200, 255, 256, 257, 65'534, 65'535, 65'536, 70'000}) {
        BinaryPropertyListWriter list;
        std::vector<Index> items;
        for (int number = 0; number < count; ++number)
            items.push_back(list.integer(number));
        const auto read = readPropertyList(list.list(list.array(items)));
        ASSERT_TRUE(read && read->asArray()) << count;
        ASSERT_EQ(read->asArray()->size(), items.size()) << count;
        EXPECT_EQ((*read)[items.size() - 1], Value(count - 1));
    }
}

} // namespace
