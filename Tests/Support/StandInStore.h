#pragma once

#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace LumoKit::Test {

/// A cookie store that answers when the test says so, in the order that the test wants, and writes down what it was
/// asked.
struct StandInCookieStore : WKHTTPCookieStore {
    explicit StandInCookieStore(std::vector<std::string>& log)
        : log(log)
    {
    }
    void getAllCookies(std::move_only_function<void(std::vector<HTTPCookie>)> completionHandler) override
    {
        questions.push_back(std::move(completionHandler));
    }
    void setCookie(const HTTPCookie& cookie, Completion completionHandler) override
    {
        log.push_back("set " + cookie.name());
        set.push_back(std::move(completionHandler));
    }

    std::vector<std::string>& log;
    std::vector<std::move_only_function<void(std::vector<HTTPCookie>)>> questions;
    std::vector<Completion> set;
};

/// A data store of that kind.
struct StandInStore : WKWebsiteDataStore {
    const std::shared_ptr<WKHTTPCookieStore>& httpCookieStore() const override { return base; }
    void removeData(const std::set<std::string_view>& ofTypes, Date modifiedSince,
        std::move_only_function<void()> completionHandler) override
    {
        log.push_back("remove");
        types.push_back(ofTypes);
        since.push_back(modifiedSince);
        removals.push_back(std::move(completionHandler));
    }

    std::vector<std::string> log;
    std::shared_ptr<StandInCookieStore> cookies = std::make_shared<StandInCookieStore>(log);
    const std::shared_ptr<WKHTTPCookieStore> base = cookies;
    std::vector<std::set<std::string_view>> types;
    std::vector<Date> since;
    std::vector<std::move_only_function<void()>> removals;
};

} // namespace LumoKit::Test
