#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <string_view>

namespace LumoKit {

/// Makes a window frameless: the content reaches to the top, below a strip without a title or a background in which the
/// window's three buttons are and by which it can be dragged.
///
///     const auto behaviour = std::make_shared<LMFramelessWindowBehaviour>();
///     behaviour->titlebarHeight = 40;
///     behaviour->setOwner(controller); // which keeps the behaviour
///     behaviour->setWindow(window);
///
/// Owner, window and height may be set in any order, by an interface file, too; once all three are there the window
/// changes, at once or at a later turn of the main queue, and for good.
///
/// Ownership: the owner keeps the behaviour, one at a time.
/// Thread: the main thread.
class LMFramelessWindowBehaviour : public NSObject {
public:
    [[nodiscard]] std::shared_ptr<NSObject> owner() const { return owner_.lock(); }
    void setOwner(const std::shared_ptr<NSObject>& owner);

    [[nodiscard]] std::shared_ptr<NSWindow> window() const { return window_.lock(); }
    /// Calls `setup`.
    void setWindow(const std::shared_ptr<NSWindow>& window);

    /// Of the strip; 0 as long as it is not known.
    /// Units: points.
    double titlebarHeight = 0;

    [[nodiscard]] bool setupDone() const { return setupDone_; }

    /// Makes the window frameless if that has not happened and everything is there. Else tries again at every turn of the
    /// main queue: until then, or, once the window is frameless, without an end and to no effect.
    void setup();

    /// The steps of `setup`.
    /// Errors: stop the process without a window.
    void customizeWindow();
    void registerForNotifications();
    /// Puts the strip at the top of the window and the buttons into it.
    void updateTitlebar(bool fullScreen);

    [[nodiscard]] Value value(std::string_view forKey) const override;
    /// "titlebarHeight".
    void setValue(const Value& value, std::string_view forKey) override;
    /// "owner" and "window".
    void setOutlet(const std::shared_ptr<NSObject>& object, std::string_view forKey) override;

private:
    [[nodiscard]] bool isReady() const;
    [[nodiscard]] std::shared_ptr<NSWindow> presentWindow() const;

    std::weak_ptr<NSObject> owner_;
    std::weak_ptr<NSWindow> window_;
    bool setupDone_ = false;
    bool triesAgain = false; // at the next turn
    KeyValueObservation windowTitleObservation;
};

} // namespace LumoKit
