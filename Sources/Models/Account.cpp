#include <LumoKit/Models/Account.h>

#include <utility>

namespace LumoKit {

Account::Account(std::string fullname, std::string email, std::int64_t accountNumber)
    : Account(std::move(fullname), std::move(email), accountNumber, std::nullopt)
{
}

Account::Account(
    std::string fullname, std::string email, std::int64_t accountNumber, std::optional<URL> imageURL)
    : fullname_(std::move(fullname))
    , email_(std::move(email))
    , accountNumber_(accountNumber)
    , imageURL_(std::move(imageURL))
{
}

void Account::setImageURL(std::optional<URL> url)
{
    imageURL_ = std::move(url);
}

} // namespace LumoKit

std::size_t std::hash<LumoKit::Account>::operator()(const LumoKit::Account& account) const noexcept
{
    std::uint64_t state = 0;
    // What was fed before is spread over all bits first, so that the order counts.
    const auto feed = [&]<class T>(const T& part) {
        constexpr std::uint64_t oddFraction = 0x9E3779B97F4A7C15; // of the golden ratio
        state = (state ^ (state >> 32)) * oddFraction + std::hash<T>()(part);
    };
    feed(account.fullname());
    feed(account.email());
    feed(account.accountNumber());
    feed(account.imageURL() ? 1 : 0);
    if (account.imageURL())
        feed(*account.imageURL());
    return state ^ (state >> 32);
}
