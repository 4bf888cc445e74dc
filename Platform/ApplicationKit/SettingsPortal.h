#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gio/gio.h>

#include <chrono>
#include <functional>

namespace LumoKit::detail {

/// What the user prefers in the whole desktop.
enum class ColorScheme { noPreference, dark, light };

/// Asks the desktop's settings portal for the user's colour scheme.
///
/// Every question goes to the portal: a value that is kept, and made true by the portal's signals, is wrong from
/// the moment of a change until the main loop gets to the signal, and a caller that made the change itself reads
/// the old one. A question costs a fifth to half of a millisecond.
///
/// A portal that does not answer, or is being started, holds the caller once, for `patience`. From then on it is
/// asked beside the main loop, and what it last said, by a signal or a late answer, is given; it is waited for
/// again once it has answered in time. The bus is asked to start the portal by the first question alone.
///
/// Thread: the main thread.
class SettingsPortal {
public:
    static constexpr std::chrono::milliseconds patience{100};

    /// Connects to the session bus, which is taken to answer. `changed` is called from the main loop with what
    /// the portal says whenever that may be something new.
    explicit SettingsPortal(std::function<void(ColorScheme)> changed);
    SettingsPortal(const SettingsPortal&) = delete;
    SettingsPortal& operator=(const SettingsPortal&) = delete;
    ~SettingsPortal();

    /// No preference, too, where there is no portal or it says something odd.
    [[nodiscard]] ColorScheme colorScheme();

private:
    /// Asks without waiting, unless a question is under way.
    void ask();
    void answered(GVariant* reply);
    [[nodiscard]] GDBusCallFlags mayStart() const;

    std::function<void(ColorScheme)> changed;
    ObjectPtr<GDBusConnection> bus; // none where there is no session bus
    guint subscription = 0;
    guint watch = 0;
    ObjectPtr<GCancellable> asking; // while a question is under way
    std::chrono::steady_clock::time_point asked; // when that was put
    bool prompt = true; // answered in time when it was last asked
    bool started = false; // the bus has been asked to start it
    ColorScheme said = ColorScheme::noPreference;
};

} // namespace LumoKit::detail
