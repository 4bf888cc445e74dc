#pragma once

#include <LumoKit/CookieJar/CookieJar.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace LumoSuite {

/// A storage that says when cookies of the help have been put into it.
class HelpCookieStorage : public LumoKit::CookieJarStorage {
public:
    using Report = std::function<void(const std::string&)>;

    HelpCookieStorage(std::shared_ptr<LumoKit::CookieJarStorage> storage, Report report)
        : storage(std::move(storage))
        , report(std::move(report))
    {
    }

    [[nodiscard]] std::optional<LumoKit::Data> loadData(const std::string& key) override
    {
        return storage->loadData(key);
    }
    void saveData(const std::string& key, const LumoKit::Data& data) override
    {
        storage->saveData(key, data);
        report("help cookies kept");
    }

private:
    const std::shared_ptr<LumoKit::CookieJarStorage> storage;
    const Report report;
};

} // namespace LumoSuite
