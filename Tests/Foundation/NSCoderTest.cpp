#include <LumoKit/Platform/Foundation/NSCoder.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

TEST(NSCoderTest, ReadsWhatIsThere)
{
    const NSCoder coder({{"text", "tea"}, {"number", 1.5}, {"whole", 2}, {"yes", true},
        {"frame", "{{1, -2}, {3.5, 4}}"}, {"inner", Value::Dictionary{{"text", "more"}}}});
    EXPECT_TRUE(coder.containsValue("text"));
    EXPECT_EQ(coder.decodeString("text"), "tea");
    EXPECT_EQ(coder.decodeDouble("number"), 1.5);
    EXPECT_EQ(coder.decodeDouble("whole"), 2);
    EXPECT_TRUE(coder.decodeBool("yes"));
    EXPECT_EQ(coder.decodeRect("frame"), (CGRect{{1, -2}, {3.5, 4}}));
    EXPECT_EQ(coder.decodeDictionary("inner").decodeString("text"), "more");
    EXPECT_EQ(coder.decodeObject("whole"), Value(2));
}

TEST(NSCoderTest, ReadsNothingOfWhatIsMissingOrOfAnotherType)
{
    const NSCoder none;
    const NSCoder other({{"key", Value::Array{}}});
    for (const NSCoder& coder : {none, other}) {
        EXPECT_EQ(coder.decodeString("key"), "");
        EXPECT_EQ(coder.decodeDouble("key"), 0);
        EXPECT_FALSE(coder.decodeBool("key"));
        EXPECT_EQ(coder.decodeRect("key"), CGRect());
        EXPECT_FALSE(coder.decodeDictionary("key").containsValue("key"));
    }
    EXPECT_FALSE(none.containsValue("key"));
    EXPECT_TRUE(none.decodeObject("key").isNull());
}

TEST(NSCoderTest, ARectangleHasFourNumbers)
{
    for (const char* text : {"", "{}", "{{1, 2}, {3}}", "{{1, 2}, {3, 4}, 5}", "{{1, 2}, {3, x}}", "1,2,3,4x",
             "{{1, 2}, {3, 1e999}}", "{{1, 2}, {nan, 3}}"}) {
        const CGRect rect = NSCoder(Value::Dictionary{{"frame", text}}).decodeRect("frame");
        EXPECT_EQ(rect, CGRect()) << text;
    }
}

} // namespace
