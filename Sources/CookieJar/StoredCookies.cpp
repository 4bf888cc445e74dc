#include "StoredCookies.h"

#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>
#include <LumoKit/Platform/Dispatch/DispatchGroup.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <algorithm>
#include <utility>

namespace LumoKit::detail {

namespace {

struct Injection {
    std::vector<HTTPCookie> cookies;
    std::shared_ptr<WKWebsiteDataStore> store;
    std::set<std::string_view> types;
    std::move_only_function<void()> completion;
};

void remove(const std::shared_ptr<Injection>& injection)
{
    const auto removed = std::make_shared<DispatchSemaphore>();
    DispatchQueue::main()->async([injection, removed] {
        injection->store->removeData(injection->types, distantPast, [removed] { removed->signal(); });
    });
    removed->wait();
}

void set(const std::shared_ptr<Injection>& injection)
{
    // Asked for all at once: waiting for each would take a round trip to the network process a cookie.
    const auto group = std::make_shared<DispatchGroup>();
    for (const HTTPCookie& cookie : injection->cookies) {
        group->enter();
        DispatchQueue::main()->async([injection, group, &cookie] {
            injection->store->httpCookieStore()->setCookie(cookie, [group] { group->leave(); });
        });
    }
    group->wait();
}

} // namespace

void save(const std::vector<HTTPCookie>& cookies, CookieJarStorage& storage, const std::string& key)
{
    Value::Array records;
    records.reserve(cookies.size());
    for (const HTTPCookie& cookie : cookies)
        records.emplace_back(serialize(cookie));
    if (const auto archive = NSKeyedArchiver::archivedData(Value(std::move(records))))
        storage.saveData(key, *archive);
    else
        print("There are too many cookies to be stored");
}

std::vector<HTTPCookie> cookies(CookieJarStorage& storage, const std::string& key)
{
    const auto data = storage.loadData(key);
    const auto root = data ? NSKeyedUnarchiver::unarchiveObject(*data) : std::nullopt;
    const auto* records = root ? root->asArray() : nullptr;
    const auto isRecord = [](const Value& record) { return record.asDictionary() != nullptr; };
    if (!records || !std::ranges::all_of(*records, isRecord))
        return {};
    std::vector<HTTPCookie> cookies;
    cookies.reserve(records->size());
    for (const Value& record : *records)
        if (auto cookie = deserialize(*record.asDictionary()))
            cookies.push_back(*std::move(cookie));
    return cookies;
}

void inject(std::vector<HTTPCookie> cookies, std::shared_ptr<WKWebsiteDataStore> store,
    std::set<std::string_view> types, std::string queueLabel, std::move_only_function<void()> completion)
{
    auto injection = std::make_shared<Injection>(
        std::move(cookies), std::move(store), std::move(types), std::move(completion));
    const auto queue = DispatchQueue::create(std::move(queueLabel), DispatchQoS::userInteractive);
    queue->async([injection = std::move(injection)]() mutable {
        if (!injection->types.empty())
            remove(injection);
        set(injection);
        // Given away, so that the store is released on the main thread.
        DispatchQueue::main()->async([injection = std::move(injection)] {
            if (injection->completion)
                injection->completion();
        });
    });
}

} // namespace LumoKit::detail
