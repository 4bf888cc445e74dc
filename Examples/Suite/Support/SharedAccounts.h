#pragma once

#include <LumoKit/Models/Account.h>

#include <string>
#include <vector>

namespace LumoSuite {

/// The accounts that the suite's applications share: a list of dictionaries, each an account in its serialised form.
/// Entries that are none are passed over.
[[nodiscard]] std::vector<LumoKit::Account> sharedAccounts();

/// Adds an account to those that the suite shares, or gives the one of this address another picture.
void shareAccount(
    const std::string& fullname, const std::string& email, const std::optional<LumoKit::URL>& image);

} // namespace LumoSuite
