#pragma once

#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoKit {

/// What a check box shows; mixed is neither.
enum class NSControlStateValue { mixed = -1, off = 0, on = 1 };

/// Where a button shows its image, and whether it shows its title.
enum class NSCellImagePosition {
    noImage = 0,
    imageOnly = 1,
    imageLeft = 2,
    imageRight = 3,
    imageBelow = 4,
    imageAbove = 5,
};

/// A push button with a text, an image or both, or a check box.
///
/// Thread: the main thread.
class NSButton : public NSView {
public:
    explicit NSButton(const std::string& title, const CGRect& frame = {});

    /// A push button as an interface file describes it: what every view has, "title", and "image", the name of a file
    /// among the main bundle's resources.
    explicit NSButton(const NSCoder& coder);

    /// A check box, off at first.
    [[nodiscard]] static std::shared_ptr<NSButton> checkbox(
        const std::string& withTitle, const CGRect& frame = {});

    /// Also what assistive software calls a button that shows an image only.
    [[nodiscard]] std::string title() const;
    void setTitle(const std::string& title);

    /// Shown at its own size, in the middle; null at first.
    [[nodiscard]] std::shared_ptr<const NSImage> image() const;
    void setImage(std::shared_ptr<const NSImage> image);
    /// `noImage` at first.
    [[nodiscard]] NSCellImagePosition imagePosition() const;
    void setImagePosition(NSCellImagePosition position);

    /// Whether there is a frame around the button; true at first. Without one the button is its title and image alone, and
    /// is faint while it is pressed or disabled.
    [[nodiscard]] bool isBordered() const;
    void setBordered(bool bordered);

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
