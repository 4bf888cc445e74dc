#include <LumoKit/Utility/NSView+Payload.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

TEST(Payload, IsKeptWithAMenuItem)
{
    const auto item = std::make_shared<NSMenuItem>("Work");
    EXPECT_FALSE(payload(*item).has_value());
    setPayload(*item, std::string("me@example.org"));
    EXPECT_EQ(std::any_cast<std::string>(payload(*item)), "me@example.org");
    setPayload(*item, 7);
    EXPECT_EQ(std::any_cast<int>(payload(*item)), 7);
    setPayload(*item, {});
    EXPECT_FALSE(payload(*item).has_value());
}

TEST(Payload, EndsWithItsItem)
{
    auto item = std::make_shared<NSMenuItem>("Work");
    const auto kept = std::make_shared<int>(1);
    setPayload(*item, kept);
    EXPECT_EQ(kept.use_count(), 2);
    item.reset();
    EXPECT_EQ(kept.use_count(), 1);
}

} // namespace
