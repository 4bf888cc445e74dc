#include "SharedAccounts.h"

#include <LumoKit/Extensions/UserDefaults+LumoSuite.h>
#include <LumoKit/Models/SuiteStorageKeys.h>
#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Foundation/JSONEncoder.h>
#include <LumoKit/Utility/DictionaryToCodable.h>

#include <algorithm>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr auto key = rawValue(SuiteStorageKeys::accounts);

} // namespace

std::vector<Account> sharedAccounts()
{
    std::vector<Account> accounts;
    const Value list = lumoSuite()->value(key);
    if (const auto* entries = list.asArray())
        for (const Value& entry : *entries)
            if (const auto* dictionary = entry.asDictionary())
                if (auto account = convertDictionaryToCodable<Account>(*dictionary))
                    accounts.push_back(*std::move(account));
    return accounts;
}

void shareAccount(const std::string& fullname, const std::string& email, const std::optional<URL>& image)
{
    auto accounts = sharedAccounts();
    auto known = std::ranges::find(accounts, email, &Account::email);
    if (known == accounts.end())
        known = accounts.emplace(known, fullname, email, static_cast<std::int64_t>(accounts.size()));
    else if (known->imageURL() == image)
        return;
    known->setImageURL(image);
    const auto text = JSONEncoder().encode(accounts);
    if (const auto list = text ? readJSON(*text) : std::nullopt)
        lumoSuite()->setValue(*list, key);
}

} // namespace LumoSuite
