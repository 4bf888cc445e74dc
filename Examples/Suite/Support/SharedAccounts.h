#pragma once

#include <LumoKit/Models/Account.h>

#include <string>
#include <vector>

namespace LumoSuite {

/// The accounts that the suite's applications share: a list of dictionaries, each an account in its serialised form.
/// Entries that are none are passed over.
[[nodiscard]] std::vector<LumoKit::Account> sharedAccounts();

/// Adds an account of this name and address to those that the suite shares, unless the address is known already.
void shareAccount(const std::string& fullname, const std::string& email);

} // namespace LumoSuite
