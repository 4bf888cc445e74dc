#pragma once

#include <LumoKit/Platform/Dispatch/DispatchTime.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <chrono>
#include <expected>
#include <optional>
#include <string>

namespace LumoSuite {

/// What one application keeps in the desktop's secret service, in the user's default keyring.
///
/// Nothing here asks the user for anything: a keyring that is locked is unlocked where that takes no password, and
/// counts as an error otherwise.
///
/// Thread: any. An operation blocks its thread until `deadline` at most; what the service does with one that took
/// too long is not known.
class Keyring {
public:
    using Deadline = LumoKit::DispatchTime;
    template <class T> using Outcome = std::expected<T, std::string>; // or in words why not

    struct Secret {
        LumoKit::Data data;
        std::chrono::sys_seconds saved;
    };

    /// What an item holds at most: more would take a service longer than anybody waits for it.
    static constexpr std::size_t maximumSize = std::size_t{4} << 20;

    /// `application` is any text; it keeps the suite's applications apart.
    explicit Keyring(const std::string& application);

    /// Whether there is a service with a keyring that can be used now.
    [[nodiscard]] static Outcome<void> check(Deadline deadline);

    /// What is kept under a key, which is any text; nothing if there is none.
    [[nodiscard]] Outcome<std::optional<Secret>> load(const std::string& key, Deadline deadline) const;

    /// Keeps data under a key, in place of what was there.
    [[nodiscard]] Outcome<void> save(
        const std::string& key, const LumoKit::Data& data, Deadline deadline) const;

private:
    const std::string application;
};

} // namespace LumoSuite
