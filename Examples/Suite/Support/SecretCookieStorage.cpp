#include "Support/SecretCookieStorage.h"

#include "Keyring/EntryName.h"

#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <errno.h>

#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

/// How long the service has for all that one call needs of it.
constexpr double patience = 1;

void complain(const std::string& key, const std::string& what, const std::string& why)
{
    print("The secret service " + what + " " + entryName(key) + ": " + why);
}

} // namespace

SecretCookieStorage::SecretCookieStorage(
    const std::string& application, std::shared_ptr<DiskCookieStorage> onDisk)
    : keyring(application)
    , onDisk(std::move(onDisk))
{
}

bool SecretCookieStorage::available()
{
    return Keyring::check(dispatchTimeAfter(patience)).has_value();
}

std::optional<Data> SecretCookieStorage::loadData(const std::string& key)
{
    const auto deadline = dispatchTimeAfter(patience);
    const std::unique_lock lock(mutex, deadline);
    auto found = lock ? keyring.load(key, deadline) : std::unexpected("it is still busy");
    if (!found)
        complain(key, "does not give", found.error());
    const bool has = found && *found;
    if (const auto saved = onDisk ? onDisk->saved(key) : std::nullopt) {
        if (has && (*found)->saved > *saved) {
            onDisk->removeData(key); // it was left when the application ended between saving and removing
        } else if (auto data = onDisk->loadData(key)) {
            if (found && keep(key, *data, deadline))
                onDisk->removeData(key);
            return data;
        }
    }
    return has ? std::optional(std::move((*found)->data)) : std::nullopt;
}

void SecretCookieStorage::saveData(const std::string& key, const Data& data)
{
    const auto deadline = dispatchTimeAfter(patience);
    const std::unique_lock lock(mutex, deadline);
    if (!lock)
        complain(key, "does not take", "it is still busy");
    else if (keep(key, data, deadline) && onDisk)
        onDisk->removeData(key);
}

bool SecretCookieStorage::keep(const std::string& key, const Data& data, Keyring::Deadline deadline)
{
    const auto kept = keyring.save(key, data, deadline);
    if (!kept)
        complain(key, "does not take", kept.error());
    return kept.has_value();
}

std::shared_ptr<CookieJarStorage> makeCookieStorage(const std::filesystem::path& folder)
{
    auto onDisk = std::make_shared<DiskCookieStorage>(folder);
    if (!SecretCookieStorage::available())
        return onDisk;
    const auto application = Bundle::main().bundleIdentifier().value_or(program_invocation_short_name);
    return std::make_shared<SecretCookieStorage>(application, std::move(onDisk));
}

} // namespace LumoSuite
