#include "Support/PreferencesTest.h"

#include <LumoKit/Utility/Settings.h>

#include <array>
#include <limits>

namespace LumoKit::Test {
enum class Density { compact, comfortable };
enum class Level { low, high };
} // namespace LumoKit::Test

template <> struct LumoKit::RawValues<LumoKit::Test::Density> {
    static constexpr auto cases = std::to_array<std::pair<Test::Density, std::string_view>>(
        {{Test::Density::compact, "compact"}, {Test::Density::comfortable, "comfortable"}});
};
template <> struct LumoKit::RawValues<LumoKit::Test::Level> {
    static constexpr auto cases = std::to_array<std::pair<Test::Level, std::int64_t>>(
        {{Test::Level::low, 10}, {Test::Level::high, 20}});
};

namespace {

using namespace LumoKit;
using LumoKit::Test::Density;
using LumoKit::Test::Level;
using testing::ElementsAre;
template <class T> using Key = SettingsKeys::Key<T>;
template <class T> using KeyWithDefault = SettingsKeys::KeyWithDefaultValue<T>;

class SettingsTest : public LumoKit::Test::PreferencesTest {
protected:
    SettingsTest() { settings->userDefaults->removeObject("none"); }

    const std::shared_ptr<UserDefaults> defaults = open();
    const std::shared_ptr<Settings> settings = Settings::create(defaults);

    const std::shared_ptr<Key<std::string>> name = Key<std::string>::create("name");
    const std::shared_ptr<KeyWithDefault<int>> size = KeyWithDefault<int>::create("size", 12);
    const std::shared_ptr<Key<Density>> maybeDensity = Key<Density>::create("density");
    const std::shared_ptr<KeyWithDefault<Density>> density =
        KeyWithDefault<Density>::create("density", Density::comfortable);

    std::vector<std::string> told;
};

TEST_F(SettingsTest, ReadsWhatWasSet)
{
    settings->set(name, "Ada");
    settings->set(size, 14);
    EXPECT_EQ(settings->get(name), "Ada");
    EXPECT_EQ(settings->get(size), 14);
    EXPECT_EQ(defaults->value("name"), Value("Ada")) << "as it is, in nothing";
    EXPECT_EQ(defaults->value("size"), Value(14));
}

TEST_F(SettingsTest, ReadsNothingOrTheDefaultWhereNothingIsKept)
{
    EXPECT_EQ(settings->get(name), std::nullopt);
    EXPECT_EQ(settings->get(size), 12);
    EXPECT_EQ(settings->get(density), Density::comfortable);
    EXPECT_EQ(settings->get(maybeDensity), std::nullopt);
}

TEST_F(SettingsTest, ReadsNothingOrTheDefaultWhereAnotherTypeIsKept)
{
    for (const Value& value : {Value(true), Value(1.5), Value("14"), Value(Value::Array{14})}) {
        defaults->setValue(value, "size");
        EXPECT_EQ(settings->get(size), 12);
        EXPECT_EQ(settings->get(Key<int>::create("size")), std::nullopt);
    }
    defaults->setValue(5, "density");
    EXPECT_EQ(settings->get(density), Density::comfortable);
    EXPECT_EQ(settings->get(maybeDensity), std::nullopt);
}

TEST_F(SettingsTest, KeepsAnEnumerationAsItsRawValue)
{
    settings->set(density, Density::compact);
    EXPECT_EQ(defaults->value("density"), Value("compact"));
    EXPECT_EQ(settings->get(density), Density::compact);
    settings->set(maybeDensity, Density::comfortable);
    EXPECT_EQ(defaults->value("density"), Value("comfortable"));
    EXPECT_EQ(settings->get(maybeDensity), Density::comfortable);
    const auto level = KeyWithDefault<Level>::create("level", Level::low);
    settings->set(level, Level::high);
    EXPECT_EQ(defaults->value("level"), Value(20));
    EXPECT_EQ(settings->get(level), Level::high);
}

TEST_F(SettingsTest, ReadsARawValueOfNoCaseAsNothingOrTheDefault)
{
    defaults->setValue("Compact", "density");
    EXPECT_EQ(settings->get(maybeDensity), std::nullopt);
    EXPECT_EQ(settings->get(density), Density::comfortable);
}

TEST_F(SettingsTest, RemovesWhatIsSetToNothing)
{
    const auto withDefault = KeyWithDefault<std::string>::create("name", "nobody");
    settings->set(name, "Ada");
    EXPECT_EQ(settings->get(withDefault), "Ada");
    settings->set(name, std::nullopt);
    EXPECT_TRUE(defaults->value("name").isNull());
    EXPECT_EQ(settings->get(name), std::nullopt);
    EXPECT_EQ(settings->get(withDefault), "nobody");
    settings->set(maybeDensity, Density::compact);
    settings->set(maybeDensity, std::nullopt);
    EXPECT_EQ(settings->get(maybeDensity), std::nullopt);
}

TEST_F(SettingsTest, TellsSubscribersBeforeSetReturns)
{
    settings->subscribe(name, false, [&](const std::optional<std::string>& value) {
        told.push_back(value.value_or("nothing"));
        EXPECT_EQ(settings->get(name), value) << "kept by then";
    });
    EXPECT_THAT(told, ElementsAre());
    settings->set(name, "Ada");
    EXPECT_THAT(told, ElementsAre("Ada"));
    settings->set(name, "Ada");
    settings->set(name, std::nullopt);
    EXPECT_THAT(told, ElementsAre("Ada", "Ada", "nothing")) << "the same value again, too";
}

TEST_F(SettingsTest, TellsTheCaseOfAnEnumeration)
{
    std::vector<Density> cases;
    settings->subscribe(density, false, [&](Density value) { cases.push_back(value); });
    settings->set(density, Density::compact);
    EXPECT_THAT(cases, ElementsAre(Density::compact));
    std::vector<std::optional<Density>> optionalCases;
    settings->subscribe(maybeDensity, false, [&](auto value) { optionalCases.push_back(value); });
    settings->set(maybeDensity, Density::comfortable);
    settings->set(maybeDensity, std::nullopt);
    EXPECT_THAT(optionalCases, ElementsAre(Density::comfortable, std::nullopt));
}

TEST_F(SettingsTest, CallsAtOnceWithTheCurrentValueOnRequest)
{
    std::vector<std::optional<std::string>> names;
    std::vector<int> sizes;
    settings->subscribe(name, true, [&](const auto& value) { names.push_back(value); });
    settings->subscribe(size, true, [&](int value) { sizes.push_back(value); });
    EXPECT_THAT(names, ElementsAre(std::nullopt));
    EXPECT_THAT(sizes, ElementsAre(12));
    settings->set(name, "Ada");
    settings->set(size, 14);
    settings->subscribe(name, true, [&](const auto& value) { names.push_back(value); });
    settings->subscribe(size, true, [&](int value) { sizes.push_back(value); });
    EXPECT_THAT(names, ElementsAre(std::nullopt, "Ada", "Ada"));
    EXPECT_THAT(sizes, ElementsAre(12, 14, 14));
}

TEST_F(SettingsTest, CallsAtOnceWithTheDefaultOfAnEnumerationWhateverIsKept)
{
    settings->set(density, Density::compact);
    std::vector<std::optional<Density>> cases;
    settings->subscribe(density, true, [&](Density value) { cases.emplace_back(value); });
    settings->subscribe(maybeDensity, true, [&](const auto& value) { cases.push_back(value); });
    EXPECT_THAT(cases, ElementsAre(Density::comfortable, std::nullopt));
    EXPECT_EQ(settings->get(density), Density::compact);
}

TEST_F(SettingsTest, TellsWhoeverNamesTheSameStorageKey)
{
    settings->subscribe(
        Key<std::string>::create("name"), false, [&](const auto&) { told.emplace_back("same"); });
    settings->subscribe(
        Key<std::string>::create("nam"), false, [&](const auto&) { told.emplace_back("other"); });
    settings->set(Key<std::string>::create("name"), "Ada");
    EXPECT_THAT(told, ElementsAre("same"));
}

TEST_F(SettingsTest, TellsNobodyOfAnotherTypeOrKindOfKey)
{
    settings->subscribe(Key<int>::create("name"), false, [&](const auto&) { told.emplace_back("type"); });
    settings->subscribe(KeyWithDefault<std::string>::create("name", ""), false,
        [&](const auto&) { told.emplace_back("kind"); });
    settings->set(name, "Ada");
    EXPECT_THAT(told, ElementsAre());
    settings->subscribe(name, false, [&](const auto&) { told.emplace_back("ours"); });
    settings->set(KeyWithDefault<std::string>::create("name", ""), "Grace");
    EXPECT_THAT(told, ElementsAre("kind"));
}

TEST_F(SettingsTest, TellsNobodyOfWhatOthersSet)
{
    settings->subscribe(name, false, [&](const auto&) { told.emplace_back("told"); });
    Settings::create(open())->set(name, "by other settings");
    EXPECT_EQ(settings->get(name), "by other settings");
    defaults->setValue("by the domain", "name");
    EXPECT_EQ(settings->get(name), "by the domain");
    LumoKit::Test::Peer({domain}).ask("set name \"elsewhere\"");
    EXPECT_EQ(settings->get(name), "elsewhere");
    EXPECT_THAT(told, ElementsAre());
}

TEST_F(SettingsTest, EndsASubscription)
{
    const auto subscription = settings->subscribe(size, false, [&](int) { told.emplace_back("first"); });
    settings->subscribe(size, false, [&](int) { told.emplace_back("second"); });
    subscription->unsubscribe();
    settings->set(size, 1);
    EXPECT_THAT(told, ElementsAre("second"));
    subscription->unsubscribe();
    settings->subscribe(size, false, [&](int) { told.emplace_back("third"); });
    settings->set(size, 2);
    EXPECT_THAT(told, ElementsAre("second", "second", "third")) << "numbers are not given again";
}

TEST_F(SettingsTest, GoesOnWhenTheSubscriptionIsLetGo)
{
    static_cast<void>(settings->subscribe(size, false, [&](int) { told.emplace_back("told"); }));
    settings->set(size, 1);
    EXPECT_THAT(told, ElementsAre("told"));
}

TEST_F(SettingsTest, KeepsHandlersAndKeysUntilTheyEnd)
{
    auto captured = std::make_shared<int>();
    auto key = KeyWithDefault<int>::create("kept", 0);
    const std::weak_ptr watchedKey = key;
    auto other = Settings::create(defaults);
    auto subscription = other->subscribe(key, false, [captured](int) { });
    key.reset();
    EXPECT_EQ(captured.use_count(), 2);
    EXPECT_FALSE(watchedKey.expired());
    const std::weak_ptr watched = other;
    other.reset();
    EXPECT_TRUE(watched.expired()) << "a subscription does not keep the settings";
    subscription->unsubscribe();
    subscription->unsubscribe();
    subscription.reset();
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_TRUE(watchedKey.expired());
}

TEST_F(SettingsTest, LetsHandlersSetSubscribeAndUnsubscribe)
{
    std::shared_ptr<SettingsSubscription> own;
    own = settings->subscribe(size, false, [&](int value) {
        told.push_back("first " + std::to_string(value));
        own->unsubscribe();
        settings->subscribe(size, false, [&](int later) { told.push_back("new " + std::to_string(later)); });
        if (value == 1)
            settings->set(size, 2);
    });
    settings->set(size, 1);
    EXPECT_THAT(told, ElementsAre("first 1", "new 2")) << "the new one not of the change that was told";
    settings->set(size, 3);
    EXPECT_THAT(told, ElementsAre("first 1", "new 2", "new 3"));
}

TEST_F(SettingsTest, TellsThoseWhoAreUnsubscribedMeanwhile)
{
    std::shared_ptr<SettingsSubscription> second;
    settings->subscribe(size, false, [&](int) {
        told.emplace_back("first");
        second->unsubscribe();
    });
    second = settings->subscribe(size, false, [&](int) { told.emplace_back("second"); });
    settings->set(size, 1);
    EXPECT_THAT(told, ElementsAre("first", "second")) << "the walk sees them as they were when it began";
    settings->set(size, 2);
    EXPECT_THAT(told, ElementsAre("first", "second", "first"));
}

TEST_F(SettingsTest, SurvivesBeingReleasedByAHandler)
{
    auto owner = Settings::create(defaults);
    owner->subscribe(size, false, [&](int) { owner.reset(); });
    owner->subscribe(size, false, [&](int) { told.emplace_back("second"); });
    owner->set(size, 1);
    EXPECT_THAT(told, ElementsAre("second"));
}

TEST_F(SettingsTest, LeavesOnlyTheOuterOfTwoSubscriptionsThatAreMadeInOneAnother)
{
    std::shared_ptr<SettingsSubscription> inner;
    const auto outer = settings->subscribe(size, true, [&](int) {
        if (!inner)
            inner = settings->subscribe(name, false, [&](const auto&) { told.emplace_back("inner"); });
        else
            told.emplace_back("outer");
    });
    settings->set(name, "Ada");
    EXPECT_THAT(told, ElementsAre()) << "replaced";
    settings->set(size, 1);
    EXPECT_THAT(told, ElementsAre("outer"));
    inner->unsubscribe(); // has the same number
    settings->set(size, 2);
    EXPECT_THAT(told, ElementsAre("outer"));
}

TEST_F(SettingsTest, StopsWhereNumbersWouldComeRoundAgain)
{
    class Exhausted : public Settings {
    public:
        explicit Exhausted(std::shared_ptr<UserDefaults> defaults)
            : Settings(std::move(defaults))
        {
            EXPECT_EQ(subscriptionCount, 0);
            subscriptionCount = std::numeric_limits<SubscriptionNumber>::max() - 1;
        }
    };
    const auto exhausted = std::make_shared<Exhausted>(defaults);
    exhausted->subscribe(size, false, [](int) { });
    EXPECT_DEATH(exhausted->subscribe(size, false, [](int) { }), "Fatal error");
}

/// What is read and written goes through the pair that a domain may override.
TEST_F(SettingsTest, AsksTheDomainForEverything)
{
    class Watched : public UserDefaults {
    public:
        explicit Watched(const UserDefaults& other)
            : UserDefaults(other)
        {
        }
        Value value(std::string_view forKey) const override
        {
            calls.push_back("get " + std::string(forKey));
            return UserDefaults::value(forKey);
        }
        void setValue(const Value& value, std::string_view forKey) override
        {
            calls.push_back("set " + std::string(forKey) + " " + value.description());
            UserDefaults::setValue(value, forKey);
        }
        mutable std::vector<std::string> calls;
    };
    const auto watched = std::make_shared<Watched>(*defaults);
    const auto watching = Settings::create(watched);
    EXPECT_THAT(watched->calls, ElementsAre()) << "nothing is read to begin with";
    watching->set(name, "Ada");
    watching->set(name, std::nullopt);
    static_cast<void>(watching->get(size));
    watching->subscribe(size, false, [](int) { });
    watching->subscribe(size, true, [](int) { });
    EXPECT_THAT(watched->calls, ElementsAre("set name Ada", "set name null", "get size", "get size"));
}

} // namespace
