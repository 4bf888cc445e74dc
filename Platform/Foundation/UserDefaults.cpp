#include "PackedValue.h"
#include "PreferencesDomain.h"

#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Platform/Foundation/UserDefaults.h>

#include <filesystem>

namespace LumoKit {

using detail::PreferencesDomain;

namespace {

std::string standardName()
{
    if (auto identifier = Bundle::main().bundleIdentifier())
        return *std::move(identifier);
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).filename().string();
}

} // namespace

UserDefaults::UserDefaults(PreferencesDomain& domain)
    : domain(domain)
{
}

UserDefaults::UserDefaults(const UserDefaults& other)
    : UserDefaults(other.domain)
{
}

std::shared_ptr<UserDefaults> UserDefaults::standard()
{
    static const std::string name = standardName();
    auto* domain = PreferencesDomain::named(name);
    if (!domain)
        domain = PreferencesDomain::unsaved();
    return std::shared_ptr<UserDefaults>(new UserDefaults(*domain));
}

std::shared_ptr<UserDefaults> UserDefaults::create(std::string_view suiteName)
{
    auto* domain = PreferencesDomain::named(suiteName);
    return domain ? std::shared_ptr<UserDefaults>(new UserDefaults(*domain)) : nullptr;
}

Value UserDefaults::value(std::string_view forKey) const
{
    return domain.value(forKey);
}

void UserDefaults::setValue(const Value& value, std::string_view forKey)
{
    if (!value.isNull() && !detail::isPropertyList(value))
        return print(
            "preferences: what was to be set for \"" + std::string(forKey) + "\" is no property list");
    domain.set(forKey, value);
}

void UserDefaults::removeObject(std::string_view forKey)
{
    setValue(nullptr, forKey);
}

Value::Dictionary UserDefaults::dictionaryRepresentation() const
{
    return domain.values();
}

bool UserDefaults::synchronize()
{
    return domain.synchronize();
}

void UserDefaults::removePersistentDomain(std::string_view forName)
{
    if (auto* domain = PreferencesDomain::named(forName))
        domain->removeAll();
}

} // namespace LumoKit
