#include <LumoKit/Platform/Dispatch/DispatchGroup.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace LumoKit;

namespace {

using Texts = std::vector<std::string>;

class NotificationCenterTest : public ::testing::Test {
protected:
    /// A handler that writes down `who` was called with which notification.
    auto recorder(std::string who)
    {
        return [this, who = std::move(who)](
                   const Notification& notification) { calls.push_back(who + ":" + notification.name); };
    }

    NotificationCenter center;
    const std::shared_ptr<NSObject> sender = std::make_shared<NSObject>();
    const std::shared_ptr<NSObject> other = std::make_shared<NSObject>();
    Texts calls;
};

TEST_F(NotificationCenterTest, CallsObserversOfTheName)
{
    const auto observer = center.addObserver("boiled", nullptr, recorder("a"));
    center.post({"boiled", sender, {}});
    center.post({"boiled", nullptr, {}});
    center.post({"poured", sender, {}});
    center.post({"boile", sender, {}});
    EXPECT_EQ(calls, (Texts{"a:boiled", "a:boiled"}));
}

TEST_F(NotificationCenterTest, CallsObserversOfTheSender)
{
    const auto observer = center.addObserver("boiled", sender, recorder("a"));
    center.post({"boiled", other, {}});
    center.post({"boiled", nullptr, {}});
    EXPECT_EQ(calls, Texts{});
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, Texts{"a:boiled"});
}

TEST_F(NotificationCenterTest, CallsObserversOfAnyName)
{
    const auto ofAll = center.addObserver(std::nullopt, nullptr, recorder("all"));
    const auto ofSender = center.addObserver(std::nullopt, sender, recorder("sender"));
    const auto ofEmpty = center.addObserver("", nullptr, recorder("empty"));
    center.post({"boiled", sender, {}});
    center.post({"poured", other, {}});
    center.post({"", nullptr, {}});
    EXPECT_EQ(calls, (Texts{"all:boiled", "sender:boiled", "all:poured", "all:", "empty:"}));
}

TEST_F(NotificationCenterTest, HandsOverWhatWasPosted)
{
    std::optional<Notification> seen;
    const auto observer =
        center.addObserver("boiled", nullptr, [&](const Notification& posted) { seen = posted; });
    center.post({"boiled", sender, {{"degrees", 100}}});
    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(seen->name, "boiled");
    EXPECT_EQ(seen->object, sender);
    EXPECT_EQ(seen->userInfo, (Value::Dictionary{{"degrees", 100}}));
}

TEST_F(NotificationCenterTest, CallsBeforePostReturnsInTheOrderOfAddingOnThePostingThread)
{
    const auto first = center.addObserver("boiled", nullptr, recorder("1"));
    const auto second = center.addObserver(std::nullopt, nullptr, recorder("2"));
    const auto third = center.addObserver("boiled", sender, recorder("3"));
    std::thread::id thread;
    const auto last =
        center.addObserver("boiled", nullptr, [&](const auto&) { thread = std::this_thread::get_id(); });
    std::thread::id posting;
    std::jthread([&] {
        posting = std::this_thread::get_id();
        center.post({"boiled", sender, {}});
    }).join();
    EXPECT_EQ(calls, (Texts{"1:boiled", "2:boiled", "3:boiled"}));
    EXPECT_EQ(thread, posting);
}

TEST_F(NotificationCenterTest, IsApartFromOtherCentres)
{
    const auto observer = center.addObserver("boiled", nullptr, recorder("a"));
    NotificationCenter::defaultCenter().post({"boiled", sender, {}});
    EXPECT_EQ(calls, Texts{});
    EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
}

TEST_F(NotificationCenterTest, DoesNotCallAnObserverThatIsAddedMeanwhile)
{
    std::optional<NotificationObserver> added;
    const auto observer = center.addObserver("boiled", nullptr, [&](const auto&) {
        if (!added)
            added = center.addObserver("boiled", nullptr, recorder("added"));
    });
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, Texts{});
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, Texts{"added:boiled"});
}

TEST_F(NotificationCenterTest, DoesNotCallAnObserverThatIsRemovedMeanwhile)
{
    NotificationObserver removed;
    const auto observer = center.addObserver("boiled", nullptr, [&](const auto&) { removed = {}; });
    removed = center.addObserver("boiled", nullptr, recorder("removed"));
    const auto last = center.addObserver("boiled", nullptr, recorder("last"));
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, Texts{"last:boiled"});
}

TEST_F(NotificationCenterTest, LetsAnObserverRemoveItself)
{
    NotificationObserver observer;
    int count = 0;
    observer = center.addObserver("boiled", nullptr, [&, kept = std::make_shared<int>(1)](const auto&) {
        observer = {};
        count += *kept; // what the handler captured is there until it returns
    });
    center.post({"boiled", sender, {}});
    center.post({"boiled", sender, {}});
    EXPECT_EQ(count, 1);
}

TEST_F(NotificationCenterTest, LetsAnObserverPost)
{
    const auto first =
        center.addObserver("boiled", nullptr, [&](const auto&) { center.post({"poured", sender, {}}); });
    const auto second = center.addObserver(std::nullopt, nullptr, recorder("a"));
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, (Texts{"a:poured", "a:boiled"}));
}

TEST_F(NotificationCenterTest, EndsWithTheObserver)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    {
        const auto observer =
            center.addObserver("boiled", nullptr, [captured = std::move(captured)](const auto&) { });
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(NotificationCenterTest, EndsTheOldObserverOnMoveAssignment)
{
    auto observer = center.addObserver("boiled", nullptr, recorder("old"));
    observer = center.addObserver("boiled", nullptr, recorder("new"));
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, Texts{"new:boiled"});
    const NotificationObserver moved(std::move(observer));
    center.post({"boiled", sender, {}});
    EXPECT_EQ(calls, (Texts{"new:boiled", "new:boiled"}));
}

TEST_F(NotificationCenterTest, MayGoBeforeItsObservers)
{
    NotificationObserver observer;
    {
        NotificationCenter shortLived;
        observer = shortLived.addObserver("boiled", nullptr, recorder("a"));
        shortLived.post({"boiled", sender, {}});
    }
    observer = {};
    EXPECT_EQ(calls, Texts{"a:boiled"});
}

TEST_F(NotificationCenterTest, DoesNotKeepTheSender)
{
    auto passing = std::make_shared<NSObject>();
    const std::weak_ptr<NSObject> watched(passing);
    const auto observer = center.addObserver("boiled", passing, recorder("a"));
    passing.reset();
    EXPECT_TRUE(watched.expired());
    center.post({"boiled", nullptr, {}});
    EXPECT_EQ(calls, Texts{});
}

TEST_F(NotificationCenterTest, DoesNotTakeANewObjectForTheOldOneAtItsAddress)
{
    alignas(NSObject) std::byte place[sizeof(NSObject)];
    const auto make = [&] {
        return std::shared_ptr<NSObject>(new (place) NSObject, [](NSObject* object) { object->~NSObject(); });
    };
    auto object = make();
    const NSObject* const address = object.get();
    const auto observer = center.addObserver("boiled", object, recorder("a"));
    center.post({"boiled", object, {}});
    ASSERT_EQ(calls.size(), 1u);
    object.reset();
    object = make();
    ASSERT_EQ(object.get(), address);
    center.post({"boiled", object, {}});
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(NotificationCenterTest, LetsWhatAHandlerCapturedComeBackToIt)
{
    const auto observer = center.addObserver("poured", nullptr, recorder("a"));
    {
        const std::shared_ptr<void> end(nullptr, [&](void*) { center.post({"poured", sender, {}}); });
        const auto passing = center.addObserver("boiled", nullptr, [end](const auto&) { });
    }
    EXPECT_EQ(calls, Texts{"a:poured"});
}

TEST_F(NotificationCenterTest, IsUsedOnSeveralThreadsAtOnce)
{
    std::atomic<int> always = 0;
    const auto observer = center.addObserver("boiled", nullptr, [&](const auto&) { ++always; });
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 2; ++thread)
            threads.emplace_back([&] {
                for (int number = 0; number < 500; ++number)
                    center.post({"boiled", sender, {}});
            });
        threads.emplace_back([&] {
            for (int number = 0; number < 500; ++number)
                const auto passing = center.addObserver("boiled", nullptr, [](const auto&) { });
        });
    }
    EXPECT_EQ(always, 1000);
}

/// A sender that listens to itself, as a window does that waits for its own closing.
class SelfObserving : public NSObject {
public:
    static std::shared_ptr<SelfObserving> create(NotificationCenter& center)
    {
        auto object = std::make_shared<SelfObserving>();
        object->observer = center.addObserver("closed", object, [](const auto&) { });
        return object;
    }

private:
    NotificationObserver observer;
};

TEST_F(NotificationCenterTest, GoesOnWhenASenderDiesOnOneThreadWhileAnotherPosts)
{
    // The work runs on queues, whose threads nobody has to join: threads that block each other must not keep
    // this test from saying so.
    struct Scene {
        NotificationCenter center;
        std::shared_ptr<NSObject> sender = std::make_shared<NSObject>();
        std::atomic<bool> over = false;
        DispatchGroup group;
    };
    const auto scene = std::make_shared<Scene>();
    scene->group.enter();
    DispatchQueue::create("posting")->async([scene] {
        while (!scene->over)
            scene->center.post({"closed", scene->sender, {}});
        scene->group.leave();
    });
    scene->group.enter();
    DispatchQueue::create("dying")->async([scene] {
        for (int number = 0; number < 20'000; ++number)
            static_cast<void>(SelfObserving::create(scene->center));
        scene->over = true;
        scene->group.leave();
    });
    EXPECT_TRUE(scene->group.wait(dispatchTimeAfter(30)));
}

} // namespace
