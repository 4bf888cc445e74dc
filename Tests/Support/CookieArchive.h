#pragma once

#include "Support/CookieStore.h"
#include "Support/MemoryStorage.h"

#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace LumoKit::Test {

inline HTTPCookie named(const std::string& name, const Value::Dictionary& more = {})
{
    auto properties = more;
    properties.insert_or_assign("Name", name);
    return makeCookie(properties);
}

inline Data archiveOf(const std::vector<HTTPCookie>& cookies)
{
    Value::Array records;
    for (const auto& cookie : cookies)
        records.emplace_back(serialize(cookie));
    return NSKeyedArchiver::archivedData(Value(std::move(records))).value();
}

inline std::vector<std::string> namesOf(const std::vector<HTTPCookie>& cookies)
{
    std::vector<std::string> names;
    for (const auto& cookie : cookies)
        names.push_back(cookie.name());
    return names;
}

/// The names in a stored archive, in its order.
inline std::vector<std::string> storedNames(const Data& archive)
{
    const auto root = NSKeyedUnarchiver::unarchiveObject(archive);
    std::vector<std::string> names;
    if (root && root->asArray())
        for (const auto& record : *root->asArray())
            names.push_back(*record.asDictionary()->at("Name").asText());
    return names;
}

inline bool hasThreadNamed(const std::string& name)
{
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string found;
        if (std::getline(std::ifstream(thread.path() / "comm"), found); found == name)
            return true;
    }
    return false;
}

} // namespace LumoKit::Test
