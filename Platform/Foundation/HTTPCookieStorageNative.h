#pragma once

#include <LumoKit/Platform/Foundation/HTTPCookieStorage.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <libsoup/soup.h>

#include <map>
#include <optional>
#include <string>

namespace LumoKit {

/// Thread: the network thread, where it is made and destroyed, too.
struct HTTPCookieStorage::Native {
    explicit Native(detail::ObjectPtr<SoupCookieJar> jar);

    detail::ObjectPtr<SoupCookieJar> jar;

private:
    void count(SoupCookie* before, SoupCookie* after);
    void makeRoom(const std::optional<std::string>& domain, std::size_t most);

    std::map<std::string, std::size_t, std::less<>> countOfDomain;
    std::size_t total = 0;
    std::shared_ptr<Native*> self; // what is queued refers to it weakly
    detail::SignalConnection changed;
};

} // namespace LumoKit
