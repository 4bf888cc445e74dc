#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <string>
#include <string_view>

namespace LumoKit {

namespace detail {
class PreferencesDomain;
}

/// A preferences domain: property-list values under text keys, which last, and which every process of the user shares.
///
/// A value is a text, an integer, a number, a boolean, a date, data, or an array or dictionary of those, and is read
/// with the type with which it was set. Objects of one domain show the same values. Reading costs what reading memory
/// costs; nevertheless it shows what any process has set before.
///
/// What was set lasts as soon as `setValue` returns, also if the process is killed the next instant. (If the system
/// goes down, the last moments may be lost, and nothing else.) What cannot be written, because the disk is full or
/// another process holds the database, counts from memory all the same; one line says so, and it is tried again until
/// it is written. No call waits longer than a tenth of a second for another process.
///
/// A database that is damaged or somebody else's is moved aside in its folder and never written to; one line says so,
/// and what can be read of it is kept.
///
/// Thread: any.
/// Source: databases in `$XDG_CONFIG_HOME/lumokit/preferences` (`~/.config` without the variable), each in a folder
/// that is named after its domain, with percent-encoding, and that only the user can enter.
class UserDefaults : public NSObject {
public:
    /// The application's own domain, named after its bundle identifier; outside of a bundle, after the executable.
    [[nodiscard]] static std::shared_ptr<UserDefaults> standard();

    /// A domain that several applications of the user share, by its name. A new object each time.
    /// Errors: null for an empty name, one with a NUL character or of more than about 250 bytes, and where the
    /// environment names no folder for preferences.
    [[nodiscard]] static std::shared_ptr<UserDefaults> create(std::string_view suiteName);

    /// The value of a key; null if there is none.
    [[nodiscard]] Value value(std::string_view forKey) const override;

    /// Sets the value of a key; null removes it.
    /// Errors: what is no property list (it has a null or a URL in it, more than `Value::maximumDepth` levels or a million
    /// values) is not set; one line says so, and the old value stays.
    void setValue(const Value& value, std::string_view forKey) override;

    /// Removes the value of a key.
    void removeObject(std::string_view forKey);

    /// All keys of the domain with their values.
    [[nodiscard]] Value::Dictionary dictionaryRepresentation() const;

    /// Tries once more to write what could not be written yet. Whether everything that was set lasts.
    bool synchronize();

    /// Removes every key of a domain, by the name that it was made with.
    static void removePersistentDomain(std::string_view forName);

protected:
    explicit UserDefaults(detail::PreferencesDomain& domain);
    /// For classes that derive from this one: an object over the other's domain.
    UserDefaults(const UserDefaults& other);

private:
    detail::PreferencesDomain& domain;
};

} // namespace LumoKit
