#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Utility/Settings.h>

#include <algorithm>
#include <limits>

namespace LumoKit {

std::shared_ptr<Settings> Settings::create(std::shared_ptr<UserDefaults> userDefaults)
{
    return std::shared_ptr<Settings>(new Settings(std::move(userDefaults)));
}

Settings::Settings(std::shared_ptr<UserDefaults> userDefaults)
    : userDefaults(std::move(userDefaults))
    , subscriptions(std::make_shared<Subscriptions>())
{
}

void Settings::count()
{
    if (subscriptionCount == std::numeric_limits<SubscriptionNumber>::max())
        fatalError("there are no more numbers for subscriptions");
    ++subscriptionCount;
}

std::function<void()> Settings::ending(SubscriptionNumber number)
{
    return [weak = weak_from_this(), number] {
        if (const auto alive = weak.lock())
            static_cast<Settings&>(*alive).remove(number);
    };
}

void Settings::insert(SubscriptionNumber number, std::shared_ptr<SettingsSubscription> subscription)
{
    remove(number); // that of an initial call which subscribed, too
    auto& all = changeable();
    const auto place = std::ranges::lower_bound(all, number, {}, &Subscriptions::value_type::first);
    all.emplace(place, number, std::move(subscription));
}

void Settings::remove(SubscriptionNumber number)
{
    auto& all = changeable();
    const auto place = std::ranges::lower_bound(all, number, {}, &Subscriptions::value_type::first);
    if (place == all.end() || place->first != number)
        return;
    const auto removed = std::move(place->second); // what its handler keeps may come here again as it goes
    all.erase(place);
}

Settings::Subscriptions& Settings::changeable()
{
    if (subscriptions.use_count() > 1)
        subscriptions = std::make_shared<Subscriptions>(*subscriptions);
    return *subscriptions;
}

} // namespace LumoKit
