#pragma once

#include <LumoKit/Platform/ApplicationKit/NSModalResponse.h>
#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit {

class NSButton;
class NSView;
class NSWindow;

/// A message with buttons, put before the user as a sheet of one window or modally.
///
/// The first button stands at the right, has the keyboard and answers Return. Escape, and the window manager's
/// close command, press what `cancelButton` says. Buttons that do not fit beside one another stand one above the
/// other. All texts are shown as they are, never as markup; long ones scroll. To screen readers it is an alert
/// that is named by the message and described by the informative text.
///
/// What is set while an alert is on screen shows when it is put up the next time.
///
/// Ownership: made by `std::make_shared`; it keeps itself while it is on screen.
/// Thread: the main thread.
class NSAlert : public NSObject {
public:
    /// The style of warning has the desktop's sign for it; so has the critical one.
    enum class Style { warning, informational, critical };

    NSAlert();
    /// An alert about an error: its description, and a button "OK". An error without a description is told by
    /// its domain and code.
    explicit NSAlert(const Error& error);
    ~NSAlert() override;

    Style alertStyle = Style::informational;
    /// What it is about, in a few words.
    std::string messageText;
    std::string informativeText;

    /// Adds a button after those that are there. An alert that has none when it is put up gets one, "OK".
    std::shared_ptr<NSButton> addButton(const std::string& withTitle);
    [[nodiscard]] const std::vector<std::shared_ptr<NSButton>>& buttons() const { return buttons_; }

    /// Whether the alert has a check box below its texts, for "not again".
    bool showsSuppressionButton = false;
    /// The check box, for its title and state.
    [[nodiscard]] const std::shared_ptr<NSButton>& suppressionButton() const { return suppression; }

    /// A view below the texts, of the size of its frame; it gets the keyboard where it can take it.
    std::shared_ptr<NSView> accessoryView;

    using CompletionHandler = std::move_only_function<void(NSModalResponse)>;

    /// Puts the alert up as a sheet and returns. The handler is called once, after the sheet has gone, with the
    /// number of the button (`NSAlertFirstButtonReturn`, …), or with `NSModalResponseCancel` when the window goes
    /// before it is answered. A sheet waits for those that are up on its window already.
    /// Errors: stops the process if the alert is up already.
    void beginSheetModal(const std::shared_ptr<NSWindow>& forWindow, CompletionHandler completionHandler);

    /// Puts the alert up and returns when it has been answered; meanwhile all windows of the application are blocked.
    /// The number of the button, or `NSModalResponseAbort` when the application ends.
    /// Errors: stops the process if the alert is up already.
    NSModalResponse runModal();

private:
    struct Screen;
    void build();
    void takeDown();
    std::unique_ptr<Screen> screen; // while the alert is up
    std::vector<std::shared_ptr<NSButton>> buttons_;
    const std::shared_ptr<NSButton> suppression;
};

/// Which button of an alert Escape presses, by their titles in order: the one that is called "Cancel"; without
/// one, the only button or the second of two. Of three or more none can be told to be the harmless one.
[[nodiscard]] std::optional<std::size_t> cancelButton(const std::vector<std::string>& titles);

} // namespace LumoKit
