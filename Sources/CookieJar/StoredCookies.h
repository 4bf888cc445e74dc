#pragma once

#include <LumoKit/CookieJar/CookieJar.h>

#include <set>
#include <string_view>
#include <vector>

/// What one jar and a jar of many sets have in common.
namespace LumoKit::detail {

/// Stores the records of cookies under a key, in their order.
void save(const std::vector<HTTPCookie>& cookies, CookieJarStorage& storage, const std::string& key);

/// The cookies that are stored under a key; none where that is no archive of records.
[[nodiscard]] std::vector<HTTPCookie> cookies(CookieJarStorage& storage, const std::string& key);

/// Removes the data of `types` from a store, if there are any, and then sets the cookies there. A private queue of
/// that name waits for each step.
/// Thread: any. The completion is called on the main thread.
void inject(std::vector<HTTPCookie> cookies, std::shared_ptr<WKWebsiteDataStore> store,
    std::set<std::string_view> types, std::string queueLabel, std::move_only_function<void()> completion);

} // namespace LumoKit::detail
