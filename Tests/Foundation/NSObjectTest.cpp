#include <LumoKit/Platform/Foundation/NSObject.h>

#include <gtest/gtest.h>

#include <any>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace LumoKit;

namespace {

/// Does something when it goes.
class AtEnd {
public:
    explicit AtEnd(std::function<void()> function)
        : end(std::move(function))
    {
    }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { end(); }

private:
    std::function<void()> end;
};

using Shared = std::shared_ptr<int>;

// ---- associated objects
// ---------------------------------------------------------------------------------------------

TEST(AssociatedObject, IsWhatWasAttached)
{
    const auto object = std::make_shared<NSObject>();
    EXPECT_EQ(object->associatedObject<int>("owner"), std::nullopt);
    object->setAssociatedObject("owner", 5);
    object->setAssociatedObject("payload", std::string("tea"));
    EXPECT_EQ(object->associatedObject<int>("owner"), 5);
    EXPECT_EQ(object->associatedObject<std::string>("payload"), "tea");
}

TEST(AssociatedObject, IsNothingOfAnotherType)
{
    const auto object = std::make_shared<NSObject>();
    object->setAssociatedObject("owner", 5);
    EXPECT_EQ(object->associatedObject<long>("owner"), std::nullopt);
    EXPECT_EQ(object->associatedObject<std::string>("owner"), std::nullopt);
}

TEST(AssociatedObject, BelongsToOneObject)
{
    const auto first = std::make_shared<NSObject>();
    const auto second = std::make_shared<NSObject>();
    first->setAssociatedObject("owner", 1);
    EXPECT_EQ(second->associatedObject<int>("owner"), std::nullopt);
}

TEST(AssociatedObject, IsReleasedWhenItIsReplaced)
{
    const auto object = std::make_shared<NSObject>();
    const auto first = std::make_shared<int>(1);
    object->setAssociatedObject("owner", first);
    EXPECT_EQ(first.use_count(), 2);
    object->setAssociatedObject("owner", std::make_shared<int>(2));
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(**object->associatedObject<Shared>("owner"), 2);
}

TEST(AssociatedObject, IsRemovedByAnEmptyOne)
{
    const auto object = std::make_shared<NSObject>();
    const auto attached = std::make_shared<int>(1);
    object->setAssociatedObject("owner", attached);
    object->setAssociatedObject("owner", {});
    EXPECT_EQ(attached.use_count(), 1);
    EXPECT_EQ(object->associatedObject<Shared>("owner"), std::nullopt);
    object->setAssociatedObject("never there", {});
    object->setAssociatedObject("owner", 2);
    EXPECT_EQ(object->associatedObject<int>("owner"), 2);
}

TEST(AssociatedObject, DiesWithItsOwner)
{
    auto object = std::make_shared<NSObject>();
    const auto attached = std::make_shared<int>(1);
    object->setAssociatedObject("owner", attached);
    object.reset();
    EXPECT_EQ(attached.use_count(), 1);
}

TEST(AssociatedObject, MayComeBackToItsOwnerWhenItIsReplaced)
{
    const auto object = std::make_shared<NSObject>();
    std::optional<int> seen;
    object->setAssociatedObject("owner", std::make_shared<AtEnd>([&, raw = object.get()] {
        seen = raw->associatedObject<int>("owner");
        raw->setAssociatedObject("other", 3);
    }));
    object->setAssociatedObject("owner", 2);
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(object->associatedObject<int>("other"), 3);
}

TEST(AssociatedObject, MayComeBackToItsOwnerWhenItIsRemoved)
{
    const auto object = std::make_shared<NSObject>();
    bool ended = false;
    object->setAssociatedObject("owner", std::make_shared<AtEnd>([&, raw = object.get()] {
        ended = true;
        raw->setAssociatedObject("owner", 4);
    }));
    object->setAssociatedObject("owner", {});
    EXPECT_TRUE(ended);
    EXPECT_EQ(object->associatedObject<int>("owner"), 4);
}

TEST(AssociatedObject, MayBeSetAndReadOnSeveralThreads)
{
    const auto object = std::make_shared<NSObject>();
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            const std::string own = std::to_string(thread);
            for (int number = 0; number < 500; ++number) {
                object->setAssociatedObject("shared", std::make_shared<int>(number));
                object->setAssociatedObject(own, number);
                EXPECT_EQ(object->associatedObject<int>(own), number);
                EXPECT_TRUE(object->associatedObject<Shared>("shared").has_value());
            }
        });
}

// ---- observation
// ----------------------------------------------------------------------------------------------------

class Cup : public NSObject {
public:
    void fill(std::int64_t amount)
    {
        willChangeValue("level");
        level = amount;
        didChangeValue("level");
    }
    void move(std::string room)
    {
        willChangeValue("place");
        place = std::move(room);
        didChangeValue("place");
    }
    /// Moves and fills as one change each, one within the other.
    void serve(std::string room, std::int64_t amount)
    {
        willChangeValue("place");
        willChangeValue("level");
        place = std::move(room);
        level = amount;
        didChangeValue("level");
        didChangeValue("place");
    }
    [[nodiscard]] Value value(std::string_view forKey) const override
    {
        if (forKey == "level")
            return level.load();
        if (forKey == "place")
            return place;
        return NSObject::value(forKey);
    }

    std::atomic<std::int64_t> level = 0;
    std::string place = "shelf";
};

/// The changes that an observer was told of, as "key old→new".
class Changes {
public:
    [[nodiscard]] std::function<void(const KeyValueChange&)> recorder()
    {
        return [this](const KeyValueChange& change) {
            texts.push_back(
                change.key + " " + change.oldValue.description() + "\u2192" + change.newValue.description());
        };
    }
    std::vector<std::string> texts;
};

using Texts = std::vector<std::string>;

TEST(KeyValueObservation, TellsOldAndNewValue)
{
    const auto cup = std::make_shared<Cup>();
    Changes changes;
    const auto observation = cup->observe("level", changes.recorder());
    EXPECT_EQ(changes.texts, Texts{});
    cup->fill(3);
    cup->fill(3);
    cup->fill(1);
    EXPECT_EQ(changes.texts, (Texts{"level 0\u21923", "level 3\u21923", "level 3\u21921"}));
}

TEST(KeyValueObservation, HearsOfItsOwnKeyAndObjectOnly)
{
    const auto cup = std::make_shared<Cup>();
    const auto other = std::make_shared<Cup>();
    Changes changes;
    const auto observation = cup->observe("level", changes.recorder());
    cup->move("table");
    other->fill(2);
    EXPECT_EQ(changes.texts, Texts{});
}

TEST(KeyValueObservation, KeepsNestedChangesOfDifferentKeysApart)
{
    const auto cup = std::make_shared<Cup>();
    Changes changes;
    const auto level = cup->observe("level", changes.recorder());
    const auto place = cup->observe("place", changes.recorder());
    cup->serve("table", 7);
    EXPECT_EQ(changes.texts, (Texts{"level 0\u21927", "place shelf\u2192table"}));
}

TEST(KeyValueObservation, TellsAllObserversInTheOrderInWhichTheyCame)
{
    const auto cup = std::make_shared<Cup>();
    std::vector<int> order;
    std::vector<KeyValueObservation> observations;
    for (int number = 1; number <= 3; ++number)
        observations.push_back(cup->observe("level", [&, number](const auto&) { order.push_back(number); }));
    cup->fill(1);
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(KeyValueObservation, TellsOfAChangeThatHasAlreadyHappened)
{
    const auto cup = std::make_shared<Cup>();
    Changes changes;
    const auto observation = cup->observe("level", changes.recorder());
    cup->level = 9;
    cup->didChangeValue("level", Value(4));
    EXPECT_EQ(changes.texts, Texts{"level 4\u21929"});
}

TEST(KeyValueObservation, HasNoOldValueWhenItBeganWithinAChange)
{
    const auto cup = std::make_shared<Cup>();
    Changes changes;
    cup->willChangeValue("level");
    const auto observation = cup->observe("level", changes.recorder());
    cup->level = 2;
    cup->didChangeValue("level");
    cup->fill(3);
    EXPECT_EQ(changes.texts, (Texts{"level null\u21922", "level 2\u21923"}));
}

TEST(KeyValueObservation, ReadsNullForAKeyThatTheClassDoesNotKnow)
{
    const auto object = std::make_shared<NSObject>();
    EXPECT_TRUE(object->value("level").isNull());
    Changes changes;
    const auto observation = object->observe("unknown", changes.recorder());
    object->willChangeValue("unknown");
    object->didChangeValue("unknown");
    EXPECT_EQ(changes.texts, Texts{"unknown null\u2192null"});
}

TEST(KeyValueObservation, EndsOnDestruction)
{
    const auto cup = std::make_shared<Cup>();
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    int calls = 0;
    {
        const auto observation =
            cup->observe("level", [&, captured = std::move(captured)](const auto&) { ++calls; });
        cup->fill(1);
    }
    cup->fill(2);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(watched.expired());
}

TEST(KeyValueObservation, EndsWhenItIsInvalidated)
{
    const auto cup = std::make_shared<Cup>();
    int calls = 0;
    auto observation = cup->observe("level", [&](const auto&) { ++calls; });
    observation.invalidate();
    observation.invalidate();
    cup->fill(1);
    EXPECT_EQ(calls, 0);
}

TEST(KeyValueObservation, MayEndFromWithinItsOwnHandler)
{
    const auto cup = std::make_shared<Cup>();
    int calls = 0;
    KeyValueObservation observation;
    observation = cup->observe("level", [&, kept = std::make_shared<int>(1)](const auto&) {
        observation.invalidate();
        calls += *kept; // what the handler captured is there until it returns
    });
    cup->fill(1);
    cup->fill(2);
    EXPECT_EQ(calls, 1);
}

TEST(KeyValueObservation, IsNotToldOnceAnEarlierHandlerEndedIt)
{
    const auto cup = std::make_shared<Cup>();
    int calls = 0;
    KeyValueObservation second;
    const auto first = cup->observe("level", [&](const auto&) { second = {}; });
    second = cup->observe("level", [&](const auto&) { ++calls; });
    const auto third = cup->observe("level", [&](const auto&) { calls += 10; });
    cup->fill(1);
    EXPECT_EQ(calls, 10);
}

TEST(KeyValueObservation, IsNotToldOfTheChangeInWhoseHandlerItBegan)
{
    const auto cup = std::make_shared<Cup>();
    Changes changes;
    std::vector<KeyValueObservation> later;
    const auto first = cup->observe("level", [&](const auto&) {
        if (later.empty())
            later.push_back(cup->observe("level", changes.recorder()));
    });
    cup->fill(1);
    EXPECT_EQ(changes.texts, Texts{});
    cup->fill(2);
    EXPECT_EQ(changes.texts, Texts{"level 1\u21922"});
}

TEST(KeyValueObservation, LetsItsHandlerChangeTheSameProperty)
{
    const auto cup = std::make_shared<Cup>();
    Changes changes;
    const auto limiter = cup->observe("level", [&](const auto& change) {
        if (*change.newValue.asInteger() > 10)
            cup->fill(10);
    });
    const auto observation = cup->observe("level", changes.recorder());
    cup->fill(12);
    EXPECT_EQ(cup->level, 10);
    EXPECT_EQ(changes.texts, (Texts{"level 12\u219210", "level 0\u219212"}));
}

TEST(KeyValueObservation, LetsItsHandlerReleaseTheObject)
{
    auto cup = std::make_shared<Cup>();
    const std::weak_ptr<Cup> watched(cup);
    Changes changes;
    const auto first = cup->observe("level", [&](const auto&) { cup.reset(); });
    const auto second = cup->observe("level", changes.recorder());
    cup->fill(5);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(changes.texts, Texts{"level 0\u21925"});
}

TEST(KeyValueObservation, MayOutliveTheObject)
{
    auto cup = std::make_shared<Cup>();
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    {
        auto observation = cup->observe("level", [captured = std::move(captured)](const auto&) { });
        cup.reset();
        auto moved = std::move(observation);
        moved.invalidate();
    }
    EXPECT_TRUE(watched.expired());
}

TEST(KeyValueObservation, DoesNotKeepTheObject)
{
    auto cup = std::make_shared<Cup>();
    const std::weak_ptr<Cup> watched(cup);
    const auto observation = cup->observe("level", [](const auto&) { });
    cup.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(KeyValueObservation, EndsTheOldOneOnMoveAssignment)
{
    const auto cup = std::make_shared<Cup>();
    const auto other = std::make_shared<Cup>();
    std::vector<int> called;
    auto observation = cup->observe("level", [&](const auto&) { called.push_back(1); });
    observation = other->observe("level", [&](const auto&) { called.push_back(2); });
    cup->fill(1);
    EXPECT_EQ(called, std::vector<int>{});
    other->fill(1);
    EXPECT_EQ(called, std::vector{2});
    observation = {};
    other->fill(2);
    EXPECT_EQ(called, std::vector{2});
}

TEST(KeyValueObservation, GoesOnWhereItIsMovedTo)
{
    const auto cup = std::make_shared<Cup>();
    int calls = 0;
    std::optional<KeyValueObservation> observation(cup->observe("level", [&](const auto&) { ++calls; }));
    KeyValueObservation moved(std::move(*observation));
    observation.reset();
    auto& same = moved;
    moved = std::move(same);
    cup->fill(1);
    EXPECT_EQ(calls, 1);
}

TEST(KeyValueObservation, LetsWhatAHandlerCapturedComeBackToTheObject)
{
    const auto cup = std::make_shared<Cup>();
    std::optional<int> seen;
    cup->setAssociatedObject("owner", 3);
    {
        auto end = std::make_shared<AtEnd>([&] { seen = cup->associatedObject<int>("owner"); });
        const auto observation = cup->observe("level", [end = std::move(end)](const auto&) { });
    }
    EXPECT_EQ(seen, 3);
}

TEST(KeyValueObservation, TellsOnTheThreadThatAnnounces)
{
    const auto cup = std::make_shared<Cup>();
    std::thread::id thread;
    const auto observation = cup->observe("level", [&](const auto&) { thread = std::this_thread::get_id(); });
    std::thread::id announcer;
    std::jthread([&] {
        announcer = std::this_thread::get_id();
        cup->fill(1);
    }).join();
    EXPECT_EQ(thread, announcer);
}

TEST(KeyValueObservation, BeginsAndEndsOnAnyThreadWhileChangesAreAnnounced)
{
    const auto cup = std::make_shared<Cup>();
    std::atomic<int> always = 0;
    const auto observation = cup->observe("level", [&](const auto&) { ++always; });
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 2; ++thread)
            threads.emplace_back([&] {
                for (int number = 0; number < 500; ++number)
                    cup->fill(number);
            });
        threads.emplace_back([&] {
            for (int number = 0; number < 500; ++number)
                const auto passing = cup->observe("level", [](const auto&) { });
        });
    }
    EXPECT_EQ(always, 1000);
}

} // namespace
