#pragma once

#include <LumoKit/Platform/Foundation/Codable.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>

namespace LumoKit {

/// A signed-in account.
///
/// Its serialised form has the keys "fullname", "email", "accountNumber" and, where there is a picture,
/// "imageURL", in this order.
class Account {
public:
    /// An account without a picture.
    Account(std::string fullname, std::string email, std::int64_t accountNumber);

    /// The user's name as it is shown.
    /// Lifetime: until this account is assigned to or destroyed.
    [[nodiscard]] const std::string& fullname() const { return fullname_; }
    /// The account's address.
    /// Lifetime: until this account is assigned to or destroyed.
    [[nodiscard]] const std::string& email() const { return email_; }
    /// The account's number among those that are signed in.
    [[nodiscard]] std::int64_t accountNumber() const { return accountNumber_; }
    /// The user's picture.
    /// Lifetime: until it is set, or this account is assigned to or destroyed.
    [[nodiscard]] const std::optional<URL>& imageURL() const { return imageURL_; }
    void setImageURL(std::optional<URL> url);

    bool operator==(const Account&) const = default;

private:
    friend class CodingAccess;
    Account(std::string fullname, std::string email, std::int64_t accountNumber, std::optional<URL> imageURL);

    std::string fullname_;
    std::string email_;
    std::int64_t accountNumber_;
    std::optional<URL> imageURL_;

    static constexpr std::tuple codingKeys{CodingKey{"fullname", &Account::fullname_},
        CodingKey{"email", &Account::email_}, CodingKey{"accountNumber", &Account::accountNumber_},
        CodingKey{"imageURL", &Account::imageURL_}};
};

} // namespace LumoKit

template <> struct std::hash<LumoKit::Account> {
    std::size_t operator()(const LumoKit::Account& account) const noexcept;
};
