#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

using Texts = std::vector<std::string>;

NSAppleEventDescriptor link(const std::string& text, FourCharCode eventID = kAEGetURL)
{
    NSAppleEventDescriptor event(kInternetEventClass, eventID);
    event.setParam(NSAppleEventDescriptor(text), keyDirectObject);
    return event;
}

struct Receiver {
    void receive(const NSAppleEventDescriptor& event, NSAppleEventDescriptor& reply)
    {
        reply.setParam(NSAppleEventDescriptor("read by nobody"), keyDirectObject);
        texts.push_back(event.paramDescriptor(keyDirectObject)->stringValue().value());
        if (whenReceived)
            whenReceived();
    }
    Texts texts;
    std::function<void()> whenReceived;
};

class NSAppleEventManagerTest : public testing::Test {
protected:
    ~NSAppleEventManagerTest() override
    {
        // What waits goes to a handler that forgets it.
        for (const FourCharCode eventID : {kAEGetURL, other}) {
            const auto sink = std::make_shared<Receiver>();
            set(sink, eventID);
            runPendingTurns();
            manager.removeEventHandler(kInternetEventClass, eventID);
        }
    }
    void set(const std::shared_ptr<Receiver>& handler, FourCharCode eventID = kAEGetURL)
    {
        manager.setEventHandler(handler, &Receiver::receive, kInternetEventClass, eventID);
    }

    static constexpr FourCharCode other = fourCharCode("othr");
    NSAppleEventManager& manager = NSAppleEventManager::sharedAppleEventManager();
    const std::shared_ptr<Receiver> receiver = std::make_shared<Receiver>();
};

TEST(NSAppleEventDescriptor, HasTheCodesOfItsCharacters)
{
    EXPECT_EQ(kInternetEventClass, 0x4755524CU);
    EXPECT_EQ(kAEGetURL, 0x4755524CU);
    EXPECT_EQ(keyDirectObject, 0x2D2D2D2DU);
}

TEST(NSAppleEventDescriptor, HoldsATextOrParameters)
{
    EXPECT_EQ(NSAppleEventDescriptor().stringValue(), std::nullopt);
    EXPECT_EQ(NSAppleEventDescriptor().paramDescriptor(keyDirectObject), std::nullopt);
    EXPECT_EQ(NSAppleEventDescriptor("a").stringValue(), "a");
    EXPECT_EQ(NSAppleEventDescriptor("").stringValue(), "");

    NSAppleEventDescriptor event(1, 2);
    EXPECT_EQ(event.eventClass(), 1U);
    EXPECT_EQ(event.eventID(), 2U);
    EXPECT_EQ(event.stringValue(), std::nullopt);
    event.setParam(NSAppleEventDescriptor("old"), 3);
    event.setParam(NSAppleEventDescriptor("other"), 4);
    event.setParam(NSAppleEventDescriptor("new"), 3);
    EXPECT_EQ(event.paramDescriptor(3), NSAppleEventDescriptor("new"));
    EXPECT_EQ(event.paramDescriptor(4), NSAppleEventDescriptor("other"));
    EXPECT_EQ(event.paramDescriptor(5), std::nullopt);
}

TEST_F(NSAppleEventManagerTest, HandsEventsOverInTheirOrderFromTheMainLoop)
{
    set(receiver);
    Texts sent;
    for (int number = 0; number < 200; ++number) {
        sent.push_back(std::to_string(number));
        ASSERT_TRUE(manager.dispatch(link(sent.back())));
    }
    EXPECT_EQ(receiver->texts, Texts{}); // not from within
    EXPECT_TRUE(waitUntil([&] { return receiver->texts.size() == 200; }));
    EXPECT_EQ(receiver->texts, sent);
}

TEST_F(NSAppleEventManagerTest, KeepsEventsUntilThereIsAHandler)
{
    ASSERT_TRUE(manager.dispatch(link("a")));
    ASSERT_TRUE(manager.dispatch(link("b")));
    runPendingTurns();
    set(receiver);
    EXPECT_EQ(receiver->texts, Texts{}); // not from within
    ASSERT_TRUE(manager.dispatch(link("c")));
    runPendingTurns();
    EXPECT_EQ(receiver->texts, (Texts{"a", "b", "c"}));
}

TEST_F(NSAppleEventManagerTest, KeepsEventsOfOtherKinds)
{
    set(receiver);
    ASSERT_TRUE(manager.dispatch(link("other", other)));
    ASSERT_TRUE(manager.dispatch(link("one")));
    runPendingTurns();
    EXPECT_EQ(receiver->texts, Texts{"one"});
    set(receiver, other);
    runPendingTurns();
    EXPECT_EQ(receiver->texts, (Texts{"one", "other"}));
}

TEST_F(NSAppleEventManagerTest, HandsEventsToTheLastHandlerAlone)
{
    const auto second = std::make_shared<Receiver>();
    set(receiver);
    ASSERT_TRUE(manager.dispatch(link("a")));
    set(second);
    runPendingTurns();
    EXPECT_EQ(receiver->texts, Texts{});
    EXPECT_EQ(second->texts, Texts{"a"});
}

TEST_F(NSAppleEventManagerTest, KeepsEventsWhenTheHandlerIsRemovedOrGone)
{
    auto passing = std::make_shared<Receiver>();
    set(passing);
    ASSERT_TRUE(manager.dispatch(link("a")));
    manager.removeEventHandler(kInternetEventClass, kAEGetURL);
    runPendingTurns();
    EXPECT_EQ(passing->texts, Texts{});
    set(passing);
    const std::weak_ptr<Receiver> watched(passing);
    passing.reset();
    EXPECT_TRUE(watched.expired());
    runPendingTurns();
    ASSERT_TRUE(manager.dispatch(link("b")));
    runPendingTurns();
    set(receiver);
    runPendingTurns();
    EXPECT_EQ(receiver->texts, (Texts{"a", "b"}));
}

TEST_F(NSAppleEventManagerTest, LetsAHandlerTakeItselfAway)
{
    auto passing = std::make_shared<Receiver>();
    passing->whenReceived = [&] {
        manager.removeEventHandler(kInternetEventClass, kAEGetURL);
        passing.reset();
    };
    const std::weak_ptr<Receiver> watched(passing);
    set(passing);
    ASSERT_TRUE(manager.dispatch(link("a")));
    ASSERT_TRUE(manager.dispatch(link("b")));
    runPendingTurns();
    EXPECT_TRUE(watched.expired());
    set(receiver);
    runPendingTurns();
    EXPECT_EQ(receiver->texts, Texts{"b"});
}

TEST_F(NSAppleEventManagerTest, GoesOnInALoopWithinAHandler)
{
    receiver->whenReceived = [&] {
        if (receiver->texts.size() == 1) {
            EXPECT_TRUE(waitUntil([&] { return receiver->texts.size() == 3; }));
        }
    };
    set(receiver);
    for (const char* text : {"a", "b", "c"})
        ASSERT_TRUE(manager.dispatch(link(text)));
    EXPECT_TRUE(waitUntil([&] { return receiver->texts.size() == 3; }));
    EXPECT_EQ(receiver->texts, (Texts{"a", "b", "c"}));
}

TEST_F(NSAppleEventManagerTest, RefusesMoreEventsThanMayWait)
{
    for (std::size_t number = 0; number < NSAppleEventManager::mostWaiting; ++number)
        ASSERT_TRUE(manager.dispatch(link("a", number % 2 ? other : kAEGetURL)));
    EXPECT_FALSE(manager.dispatch(link("refused")));
    EXPECT_FALSE(manager.dispatch(link("refused", other)));
    set(receiver);
    runPendingTurns();
    EXPECT_EQ(receiver->texts, Texts(NSAppleEventManager::mostWaiting / 2, "a"));
    EXPECT_TRUE(manager.dispatch(link("b"))); // there is room again
}

TEST_F(NSAppleEventManagerTest, RefusesMoreTextThanMayWait)
{
    const std::string half(NSAppleEventManager::mostWaitingText / 2, 'x');
    EXPECT_FALSE(manager.dispatch(link(half + half + "x")));
    ASSERT_TRUE(manager.dispatch(link(half)));
    ASSERT_TRUE(manager.dispatch(link(half)));
    EXPECT_FALSE(manager.dispatch(link("x")));
    set(receiver);
    runPendingTurns();
    EXPECT_EQ(receiver->texts, (Texts{half, half}));
    EXPECT_TRUE(manager.dispatch(link(half)));
    EXPECT_TRUE(manager.dispatch(link(half)));
    runPendingTurns();
    EXPECT_EQ(receiver->texts.size(), 4U);
}

} // namespace
