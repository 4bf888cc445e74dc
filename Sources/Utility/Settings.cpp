#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Utility/Settings.h>

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
            static_cast<Settings&>(*alive).changeable().erase(number);
    };
}

Settings::Subscriptions& Settings::changeable()
{
    if (subscriptions.use_count() > 1)
        subscriptions = std::make_shared<Subscriptions>(*subscriptions);
    return *subscriptions;
}

} // namespace LumoKit
