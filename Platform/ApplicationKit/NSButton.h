#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoKit {

/// A push button with a text.
///
/// Thread: the main thread.
class NSButton : public NSView {
public:
    explicit NSButton(const std::string& title, const CGRect& frame = {});

    [[nodiscard]] std::string title() const;
    void setTitle(const std::string& title);

    [[nodiscard]] bool isEnabled() const;
    void setEnabled(bool enabled);

    /// What a click does.
    /// Ownership: the button keeps it; what it captures of the button itself must be weak.
    void setAction(std::function<void(NSButton&)> action);

    /// Does what a click of the user does; nothing while the button is disabled.
    void performClick();
};

} // namespace LumoKit
