#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/FramelessWindowBehaviour.h>
#include <LumoKit/Utility/WindowDraggingView.h>

#include <cmath>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

constexpr const char* ownerKey = "owner";
constexpr const char* observersKey = "lm_frameless_window_observers";

/// What a desktop's title bar took, which the content has now.
constexpr double heightOfTitle = 22;

constexpr double firstButton = 12;
constexpr double buttonGap = 6;
constexpr double buttonsInFullScreen = 3; // above the bottom of the strip

/// Keeps an observer of a window for as long as there can be anything to observe.
void keep(NSWindow& window, NotificationObserver observer)
{
    using Observers = std::shared_ptr<std::vector<NotificationObserver>>;
    auto observers = window.associatedObject<Observers>(observersKey).value_or(nullptr);
    if (!observers) {
        observers = std::make_shared<std::vector<NotificationObserver>>();
        window.setAssociatedObject(observersKey, observers);
    }
    observers->push_back(std::move(observer));
}

/// The strip and its window keep each other. A closed window has nothing to drag, so that whoever lets go of it then frees
/// it; one that is used again gets its strip back.
void partWhileClosed(
    const std::shared_ptr<NSWindow>& window, const std::shared_ptr<WindowDraggingView>& strip)
{
    const auto follow = [&](const char* name, bool drags) {
        keep(*window,
            NotificationCenter::defaultCenter().addObserver(name, window,
                [weak = std::weak_ptr(window), part = std::weak_ptr<NSObject>(strip->weak_from_this()),
                    drags](const Notification&) {
                    if (const auto alive = std::static_pointer_cast<WindowDraggingView>(part.lock()))
                        alive->windowToDrag = drags ? weak.lock() : nullptr;
                }));
    };
    follow(NSWindow::willCloseNotification, false);
    follow(NSWindow::didBecomeKeyNotification, true);
}

} // namespace

void LMFramelessWindowBehaviour::setOwner(const std::shared_ptr<NSObject>& owner)
{
    assertMainThread();
    const auto self = std::static_pointer_cast<LMFramelessWindowBehaviour>(shared_from_this());
    if (const auto previous = owner_.lock())
        previous->setAssociatedObject(ownerKey, {});
    owner_ = owner;
    if (owner)
        owner->setAssociatedObject(ownerKey, self);
}

void LMFramelessWindowBehaviour::setWindow(const std::shared_ptr<NSWindow>& window)
{
    window_ = window;
    setup();
}

bool LMFramelessWindowBehaviour::isReady() const
{
    const auto present = window();
    return !setupDone_ && owner() && present && present->contentView() && titlebarHeight != 0;
}

void LMFramelessWindowBehaviour::setup()
{
    assertMainThread();
    if (isReady()) {
        setupDone_ = true;
        customizeWindow();
        registerForNotifications();
        updateTitlebar(false);
        return;
    }
    if (std::exchange(triesAgain, true))
        return;
    DispatchQueue::asyncAtNextTurn([weak = weak_from_this()] {
        const auto self = std::static_pointer_cast<LMFramelessWindowBehaviour>(weak.lock());
        if (!self)
            return;
        self->triesAgain = false;
        self->setup();
    });
}

std::shared_ptr<NSWindow> LMFramelessWindowBehaviour::presentWindow() const
{
    auto present = window();
    if (!present)
        fatalError("window should not be nil here");
    return present;
}

void LMFramelessWindowBehaviour::customizeWindow()
{
    const auto window = presentWindow();
    window->setTitleVisibility(NSWindow::TitleVisibility::hidden);
    auto style = window->styleMask();
    style.fullSizeContentView = true;
    window->setStyleMask(style);
    window->setMovableByWindowBackground(true);
    window->setTitlebarAppearsTransparent(true);
    CGRect frame = window->frame();
    frame.size.height += heightOfTitle;
    window->setFrame(frame, true);

    const auto strip = std::make_shared<WindowDraggingView>();
    strip->windowToDrag = window;
    window->contentView()->addSubview(strip);
    partWhileClosed(window, strip);
    const auto content = window->contentView();
    if (!content)
        return print("root not available");
    const CGSize size = content->bounds().size;
    strip->setFrame({{0, size.height - titlebarHeight}, {size.width, titlebarHeight}});
    strip->setAutoresizing({.width = true, .minYMargin = true});
}

void LMFramelessWindowBehaviour::registerForNotifications()
{
    const auto window = presentWindow();
    const std::weak_ptr<NSObject> weak = weak_from_this();
    const auto update = [weak](bool fullScreen) {
        const auto self = std::static_pointer_cast<LMFramelessWindowBehaviour>(weak.lock());
        if (self && self->window())
            self->updateTitlebar(fullScreen);
    };
    for (const char* name : {NSWindow::didBecomeKeyNotification, NSWindow::didResizeNotification,
             NSWindow::didEnterFullScreenNotification, NSWindow::didExitFullScreenNotification}) {
        const bool fullScreen = name == NSWindow::didEnterFullScreenNotification;
        keep(*window,
            NotificationCenter::defaultCenter().addObserver(
                name, window, [update, fullScreen](const Notification&) { update(fullScreen); }));
    }
    windowTitleObservation = window->observe("title", [update](const KeyValueChange&) { update(false); });
}

void LMFramelessWindowBehaviour::updateTitlebar(bool fullScreen)
{
    const auto window = presentWindow();
    using Button = NSWindow::ButtonType;
    const auto close = window->standardWindowButton(Button::closeButton);
    const auto bar = close ? close->superview() : nullptr;
    const auto container = bar ? bar->superview() : nullptr;
    if (!container)
        return;
    CGRect frame = container->frame();
    frame.origin.y = window->frame().size.height - titlebarHeight;
    frame.size.height = titlebarHeight;
    container->setFrame(frame);

    double x = firstButton;
    for (const auto type : {Button::closeButton, Button::miniaturizeButton, Button::zoomButton}) {
        const auto button = window->standardWindowButton(type);
        if (!button)
            continue;
        const CGSize size = button->frame().size;
        const double y = fullScreen ? buttonsInFullScreen : std::round((titlebarHeight - size.height) * 0.5);
        button->setFrame({{x, y}, size});
        x += size.width + buttonGap;
    }
}

Value LMFramelessWindowBehaviour::value(std::string_view forKey) const
{
    return forKey == "titlebarHeight" ? Value(titlebarHeight) : NSObject::value(forKey);
}

void LMFramelessWindowBehaviour::setValue(const Value& value, std::string_view forKey)
{
    if (forKey != "titlebarHeight")
        return NSObject::setValue(value, forKey);
    titlebarHeight = value.asNumber().value_or(0);
}

void LMFramelessWindowBehaviour::setOutlet(const std::shared_ptr<NSObject>& object, std::string_view forKey)
{
    if (forKey == "owner")
        return setOwner(object);
    if (forKey != "window")
        return NSObject::setOutlet(object, forKey);
    const auto window = std::dynamic_pointer_cast<NSWindow>(object);
    if (object && !window)
        fatalError("the outlet 'window' is for a window");
    setWindow(window);
}

} // namespace LumoKit
