#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoKit {

/// What a check box shows; mixed is neither.
enum class NSControlStateValue { mixed = -1, off = 0, on = 1 };

/// A push button with a text, or a check box.
///
/// Thread: the main thread.
class NSButton : public NSView {
public:
    explicit NSButton(const std::string& title, const CGRect& frame = {});

    /// A check box, off at first.
    [[nodiscard]] static std::shared_ptr<NSButton> checkbox(
        const std::string& withTitle, const CGRect& frame = {});

    [[nodiscard]] std::string title() const;
    void setTitle(const std::string& title);

    [[nodiscard]] bool isEnabled() const;
    void setEnabled(bool enabled);

    /// A check box goes on and off with every click, from mixed to on. A push button keeps what it was given.
    [[nodiscard]] NSControlStateValue state() const;
    /// Does not do the action.
    void setState(NSControlStateValue state);

    /// What a click does.
    /// Ownership: the button keeps it; what it captures of the button itself must be weak.
    void setAction(std::function<void(NSButton&)> action);

    /// Does what a click of the user does; nothing while the button is disabled.
    void performClick();

private:
    enum class Kind { push, check };
    NSButton(Kind kind, const std::string& title, const CGRect& frame);
};

} // namespace LumoKit
