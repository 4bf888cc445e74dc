#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/Error.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// How an alert is put before the user.
class AlertPresentationStyle {
public:
    /// On one window, which alone is blocked until the alert is answered.
    /// Errors: stops the process if there is no window.
    [[nodiscard]] static AlertPresentationStyle sheet(std::shared_ptr<NSWindow> window);

    /// Before all windows of the application, which are blocked until it is answered.
    [[nodiscard]] static AlertPresentationStyle modal();

    /// The window of a sheet; null for a modal alert.
    [[nodiscard]] const std::shared_ptr<NSWindow>& window() const { return window_; }

private:
    AlertPresentationStyle() = default;
    std::shared_ptr<NSWindow> window_;
};

/// Where it is remembered that a question is not to be asked again, and what the check box for that says.
struct AlertSuppressionInfo {
    /// A key in the application's own preferences, `UserDefaults::standard`. Any value under it silences the
    /// question; true is what is set. Asking it again takes whoever removes the value.
    std::string key;
    std::string message;

    bool operator==(const AlertSuppressionInfo&) const = default;
};

/// Shows a warning with one button, and calls `completion` when it has been dismissed, in whatever way.
/// Thread: any; the alert and the callback are on the main thread, after this has returned.
void showAlert(std::string title, std::string message, std::string buttonTitle, AlertPresentationStyle style,
    std::move_only_function<void()> completion = {});

/// Asks a question and calls `completion` with whether the confirm button answered it. Escape, and the end of the
/// window of a sheet, do not confirm.
///
/// With `suppressionInfo` the alert has a check box; if it is on when the question is answered, in whatever way,
/// the question is silenced for good: it then is not shown, and `completion` gets true on the caller's thread
/// before this returns.
/// Thread: any; the alert and its callback are on the main thread, after this has returned.
void askConfirmation(std::string title, std::string message, std::string confirmButtonTitle,
    std::string cancelButtonTitle, std::optional<AlertSuppressionInfo> suppressionInfo,
    AlertPresentationStyle style, std::move_only_function<void(bool confirmed)> completion);

/// Tells of an error, modally.
/// Thread: any.
void showError(Error error);

/// Asks for a line of text, and calls `completion` with what was entered, which may be empty, or with nothing
/// if the user took it back.
/// Thread: the main thread, at once: a modal one has been answered when this returns.
void showTextInputAlert(const std::string& message, const AlertPresentationStyle& style,
    std::move_only_function<void(std::optional<std::string> text)> completion);

/// Lets the user choose one of three buttons, modally, and calls `completion` with its index, counted from zero;
/// not at all if the application ends before.
/// Thread: any; the alert and the callback are on the main thread, after this has returned.
void showThreeButtonPopup(std::string title, std::string message, std::string firstButtonTitle,
    std::string secondButtonTitle, std::string thirdButtonTitle,
    std::move_only_function<void(std::size_t index)> completion);

} // namespace LumoKit
