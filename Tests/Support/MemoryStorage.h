#pragma once

#include <LumoKit/CookieJar/CookieJar.h>

#include <map>
#include <string>

namespace LumoKit::Test {

/// A jar's storage in memory.
struct MemoryStorage : CookieJarStorage {
    std::optional<Data> loadData(const std::string& key) override
    {
        const auto found = entries.find(key);
        return found == entries.end() ? std::nullopt : std::optional(found->second);
    }
    void saveData(const std::string& key, const Data& data) override { entries.insert_or_assign(key, data); }

    std::map<std::string, Data> entries;
};

} // namespace LumoKit::Test
