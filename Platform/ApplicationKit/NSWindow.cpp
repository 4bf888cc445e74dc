#include "KeyboardFocus.h"
#include "NSApplicationNative.h"
#include "NSViewNative.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>

#include <gdk/gdk.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

namespace LumoKit {

namespace {

int points(double length)
{
    return static_cast<int>(
        std::lround(std::clamp(length, -32768.0, 32767.0))); // the range of a window system
}

/// For the desktop's answers.
constexpr gint64 patience = 300'000;

/// The monitor that a window is on, or the first one.
GdkRectangle monitorOf(GtkWindow* window)
{
    GdkDisplay* display = gtk_widget_get_display(GTK_WIDGET(window));
    GdkMonitor* monitor = nullptr;
    if (GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(window)))
        monitor = gdk_display_get_monitor_at_window(display, surface);
    if (!monitor)
        monitor = gdk_display_get_monitor(display, 0);
    GdkRectangle area{};
    if (monitor)
        gdk_monitor_get_geometry(monitor, &area);
    return area;
}

NSApplication::Native& application()
{
    return NSApplication::shared().nativeApplication();
}

} // namespace

void NSWindow::Native::showMenuBar()
{
    menuBar.reset();
    const auto& menu = NSApplication::shared().mainMenu();
    if (titleBar)
        titleBar->showMenu(showsMenuBar ? menu : nullptr);
    if (!menu || !showsMenuBar || titleBar)
        return;
    menuBar.emplace(menu);
    gtk_box_pack_start(box, menuBar->widget(), FALSE, FALSE, 0);
    gtk_box_reorder_child(box, menuBar->widget(), 0);
}

void NSWindow::Native::showContent(GtkWidget* content)
{
    gtk_box_pack_end(box, content, TRUE, TRUE, 0);
}

void NSWindow::Native::decorate(bool decorated)
{
    GtkWindow* widget = window.get();
    if (decorated == bool(gtk_window_get_decorated(widget)))
        return;
    int width = 0;
    int height = 0;
    gtk_window_get_size(widget, &width, &height);
    gtk_window_set_decorated(widget, decorated);
    GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(widget));
    const bool byToolkit =
        gtk_style_context_has_class(gtk_widget_get_style_context(GTK_WIDGET(widget)), "csd");
    if (!surface || decorated || !byToolkit)
        return;
    // The toolkit made title bar and shadow, and counts them into the size until it lays out the next time.
    gdk_window_set_shadow_width(surface, 0, 0, 0, 0);
    resize({double(width), double(height)});
    sizeCounts = g_get_monotonic_time() + patience;
}

void NSWindow::Native::showStyle(NSWindow& of)
{
    GtkWindow* widget = window.get();
    const bool ownTitleBar = style.titled && style.fullSizeContentView;
    decorate(style.titled && !ownTitleBar);
    gtk_window_set_deletable(widget, style.closable);
    if (bool(gtk_window_get_resizable(widget)) != style.resizable) {
        gtk_window_set_resizable(widget, style.resizable);
        if (style.resizable)
            gtk_widget_set_size_request(GTK_WIDGET(widget), -1, -1);
        else if (size != CGSize())
            resize(size);
    }
    if (ownTitleBar != (titleBar != nullptr)) {
        edges.reset();
        titleBar.reset();
        if (ownTitleBar) {
            titleBar = detail::TitleBar::create(of, overlay);
            edges.emplace(of);
        }
        showMenuBar();
    }
    if (titleBar)
        titleBar->show();
}

bool NSWindow::Native::isBlocked() const
{
    GtkWidget* grab = gtk_window_group_get_current_grab(gtk_window_get_group(window.get()));
    return grab && grab != GTK_WIDGET(window.get())
        && !gtk_widget_is_ancestor(grab, GTK_WIDGET(window.get()));
}

NSWindow::Native::~Native()
{
    connections.clear();
    edges.reset();
    mouse.reset();
    states.reset();
    titleBar.reset();
    keys.reset();
    menuBar.reset();
    sheets.cancelAll();
    if (contentView) { // it may outlive the window, and so must its widget
        contentView->nativeView().window = nullptr;
        gtk_container_remove(GTK_CONTAINER(box), contentView->nativeView().outer());
    }
    if (window)
        gtk_widget_destroy(GTK_WIDGET(window.get()));
}

NSWindow::NSWindow()
    : native(std::make_unique<Native>())
{
}

NSWindow::~NSWindow() = default;

std::shared_ptr<NSWindow> NSWindow::create(const CGRect& contentRect, StyleMask style)
{
    assertMainThread();
    auto& known = application(); // connects to the desktop
    const std::shared_ptr<NSWindow> window(new NSWindow);
    Native& native = *window->native;
    // GTK keeps a reference of its own to each window until that is destroyed.
    native.window = detail::ObjectPtr<GtkWindow>::retain(GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL)));
    GtkWindow* widget = native.window.get();
    // A group of its own: what a sheet blocks is its window, and no other.
    native.group = detail::ObjectPtr<GtkWindowGroup>::adopt(gtk_window_group_new());
    gtk_window_group_add_window(native.group.get(), widget);
    // A background that lets the desktop through needs this before there is anything on screen.
    GdkScreen* screen = gtk_widget_get_screen(GTK_WIDGET(widget));
    if (GdkVisual* visual = gdk_screen_get_rgba_visual(screen); visual && gdk_screen_is_composited(screen))
        gtk_widget_set_visual(GTK_WIDGET(widget), visual);
    native.box = GTK_BOX(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0));
    native.overlay = GTK_OVERLAY(gtk_overlay_new());
    gtk_container_add(GTK_CONTAINER(native.overlay), GTK_WIDGET(native.box));
    gtk_container_add(GTK_CONTAINER(widget), GTK_WIDGET(native.overlay));
    gtk_widget_show_all(GTK_WIDGET(native.overlay));
    native.style = style;
    native.style.fullScreen = false;
    native.showsMenuBar = style.titled;
    native.number = ++known.lastWindowNumber;
    native.keys.emplace(*window);
    native.mouse.emplace(*window);
    native.states.emplace(*window);

    using detail::SignalConnection;
    NSWindow* self = window.get(); // the connections go with the window
    native.connections.push_back(SignalConnection::connect<gboolean(GtkWidget*, GdkEvent*)>(
        widget, "delete-event", [self](auto*, auto*) {
            self->performClose();
            return TRUE; // it is closed here or not at all
        }));
    native.connections.push_back(SignalConnection::connect<void(GtkWindow*, GParamSpec*)>(
        widget, "notify::is-active", [self](auto*, auto*) {
            const auto alive = self->shared_from_this();
            const bool key = gtk_window_is_active(self->native->window.get());
            if (std::exchange(self->native->key, key) == key)
                return;
            if (key)
                application().becameKey(*self);
            if (const auto delegate = self->native->delegate.lock())
                key ? delegate->windowDidBecomeKey(*self) : delegate->windowDidResignKey(*self);
            NotificationCenter::defaultCenter().post(
                {key ? didBecomeKeyNotification : didResignKeyNotification, alive, {}});
        }));
    native.connections.push_back(detail::takeKeyboardWhenMapped(widget));
    for (const auto& [signal, visible] : {std::pair("show", true), std::pair("hide", false)})
        native.connections.push_back(SignalConnection::connect<void(GtkWidget*)>(
            widget, signal, [self, visible](auto*) { self->native->sheets.setVisible(*self, visible); }));
    native.connections.push_back(SignalConnection::connect<void(GtkWidget*, GdkRectangle*)>(
        widget, "size-allocate", [self, last = CGSize()](auto*, GdkRectangle* area) mutable {
            const CGSize size{double(area->width), double(area->height)};
            if (std::exchange(last, size) == size)
                return;
            const auto alive = self->shared_from_this();
            if (const auto delegate = self->native->delegate.lock())
                delegate->windowDidResize(*self);
            NotificationCenter::defaultCenter().post({didResizeNotification, alive, {}});
            self->native->states->resized();
            // The toolkit forgets what asks to be laid out while it lays out, as views do that were told just now.
            DispatchQueue::main()->async([weak = self->weak_from_this()] {
                if (const auto laidOut = std::static_pointer_cast<NSWindow>(weak.lock()))
                    gtk_widget_queue_resize(GTK_WIDGET(laidOut->native->window.get()));
            });
        }));

    window->setContentView(std::make_shared<NSView>(CGRect{{}, contentRect.size}));
    native.showStyle(*window);
    window->setFrame(contentRect);
    native.showMenuBar();
    known.add(window);
    return window;
}

std::string NSWindow::title() const
{
    const char* title = gtk_window_get_title(native->window.get());
    return title ? title : "";
}

void NSWindow::setTitle(const std::string& title)
{
    willChangeValue("title");
    gtk_window_set_title(native->window.get(), title.c_str());
    didChangeValue("title");
}

Value NSWindow::value(std::string_view forKey) const
{
    return forKey == "title" ? Value(title()) : NSObject::value(forKey);
}

const std::shared_ptr<NSView>& NSWindow::contentView() const
{
    return native->contentView;
}

void NSWindow::setContentView(std::shared_ptr<NSView> view)
{
    if (!view)
        view = std::make_shared<NSView>();
    if (view == native->contentView)
        return;
    const auto replaced = std::exchange(native->contentView, nullptr);
    if (replaced) {
        replaced->native->window = nullptr;
        GtkWidget* widget = replaced->native->outer();
        if (GtkWidget* parent = gtk_widget_get_parent(widget))
            gtk_container_remove(GTK_CONTAINER(parent), widget);
    }
    view->removeFromSuperview();
    view->native->window = this;
    if (replaced)
        view->setFrame({{}, replaced->frame().size});
    native->showContent(view->native->outer());
    native->contentView = std::move(view);
}

int NSWindow::windowNumber() const
{
    return native->number;
}

bool NSWindow::showsMenuBar() const
{
    return native->showsMenuBar;
}

void NSWindow::setShowsMenuBar(bool shows)
{
    native->showsMenuBar = shows;
    native->showMenuBar();
}

void NSWindow::sendEvent(const NSEvent& event)
{
    native->keys->send(event);
}

bool NSWindow::performKeyEquivalent(const NSEvent& with)
{
    const auto content = native->contentView; // what it does may replace it
    return content->performKeyEquivalent(with);
}

std::shared_ptr<NSView> NSWindow::firstResponder() const
{
    for (GtkWidget* widget = gtk_window_get_focus(native->window.get()); widget;
        widget = gtk_widget_get_parent(widget))
        if (NSView* view = NSView::Native::viewOf(widget))
            return std::static_pointer_cast<NSView>(view->weak_from_this().lock());
    return nullptr;
}

bool NSWindow::makeFirstResponder(const std::shared_ptr<NSView>& view)
{
    if (!view) {
        gtk_window_set_focus(native->window.get(), nullptr);
        return true;
    }
    GtkWidget* widget = view->native->widget.get();
    if (view->window().get() != this || !gtk_widget_get_can_focus(widget) || !gtk_widget_is_sensitive(widget))
        return false;
    gtk_widget_grab_focus(widget);
    return true;
}

CGRect NSWindow::frame() const
{
    GtkWindow* window = native->window.get();
    int width = 0;
    int height = 0;
    gtk_window_get_size(window, &width, &height);
    if (g_get_monotonic_time() < native->sizeCounts) {
        width = points(native->size.width);
        height = points(native->size.height);
    }
    CGPoint origin = native->origin;
#ifdef GDK_WINDOWING_X11
    if (GDK_IS_X11_DISPLAY(gtk_widget_get_display(GTK_WIDGET(window))) && isVisible()) {
        int left = 0;
        int top = 0;
        gtk_window_get_position(window, &left, &top);
        const CGPoint now{double(left), double(monitorOf(window).height - (top + height))};
        const bool isThere = points(origin.x) == left && points(origin.y) == points(now.y);
        if (!isThere && g_get_monotonic_time() >= native->originCounts)
            origin = now;
    }
#endif
    return {origin, {double(width), double(height)}};
}

void NSWindow::setFrame(const CGRect& frame, bool display)
{
    if (isFullScreen())
        return;
    native->resize(frame.size);
    native->move(frame);
    if (display)
        gtk_widget_queue_draw(GTK_WIDGET(native->window.get()));
}

void NSWindow::setFrameOrigin(const CGPoint& origin)
{
    if (!isFullScreen())
        native->move({origin, frame().size});
}

void NSWindow::Native::resize(const CGSize& to)
{
    GtkWindow* widget = window.get();
    size = to;
    const int width = std::max(1, points(size.width));
    const int height = std::max(1, points(size.height));
    gtk_window_set_default_size(widget, width, height);
    if (!gtk_window_get_resizable(widget))
        gtk_widget_set_size_request(
            GTK_WIDGET(widget), width, height); // GTK makes such a window as small as it can
    if (gtk_widget_get_visible(GTK_WIDGET(widget)))
        gtk_window_resize(widget, width, height);
}

void NSWindow::Native::move(const CGRect& frame)
{
    origin = frame.origin;
    // A window manager answers later. Whoever moves the window by steps counts from where it will be then.
    if (gtk_widget_get_visible(GTK_WIDGET(window.get())))
        originCounts = g_get_monotonic_time() + patience;
    const int height = std::max(1, points(frame.size.height));
    gtk_window_move(
        window.get(), points(origin.x), monitorOf(window.get()).height - (points(origin.y) + height));
}

CGRect NSWindow::Native::screen() const
{
    const GdkRectangle monitor = monitorOf(window.get());
    return {{double(monitor.x), -double(monitor.y)}, {double(monitor.width), double(monitor.height)}};
}

NSWindow::TitleVisibility NSWindow::titleVisibility() const
{
    return native->titleVisibility;
}

void NSWindow::setTitleVisibility(TitleVisibility visibility)
{
    native->titleVisibility = visibility;
    native->showStyle(*this);
}

NSWindow::StyleMask NSWindow::styleMask() const
{
    StyleMask style = native->style;
    style.fullScreen = native->states->isFullScreen();
    return style;
}

void NSWindow::setStyleMask(StyleMask style)
{
    style.fullScreen = false;
    native->style = style;
    native->showStyle(*this);
}

bool NSWindow::titlebarAppearsTransparent() const
{
    return native->titlebarAppearsTransparent;
}

void NSWindow::setTitlebarAppearsTransparent(bool transparent)
{
    native->titlebarAppearsTransparent = transparent;
    native->showStyle(*this);
}

std::shared_ptr<NSButton> NSWindow::standardWindowButton(ButtonType button) const
{
    return native->titleBar ? native->titleBar->button(button) : nullptr;
}

bool NSWindow::isMovableByWindowBackground() const
{
    return native->movableByBackground;
}

void NSWindow::setMovableByWindowBackground(bool movable)
{
    native->movableByBackground = movable;
}

bool NSWindow::movesItself() const
{
    return native->states->canBePlaced();
}

void NSWindow::performDrag(const NSEvent& with)
{
    native->mouse->handOver(with);
}

void NSWindow::toggleFullScreen()
{
    native->states->setFullScreen(!isFullScreen());
}

bool NSWindow::isZoomed() const
{
    return native->states->isZoomed();
}

void NSWindow::zoom()
{
    if (isFullScreen())
        return toggleFullScreen();
    native->states->setZoomed(!isZoomed());
}

bool NSWindow::isMiniaturized() const
{
    return native->states->isMiniaturized();
}

void NSWindow::miniaturize()
{
    native->states->setMiniaturized(true);
}

void NSWindow::deminiaturize()
{
    native->states->setMiniaturized(false);
}

void NSWindow::setMinSize(const CGSize& size)
{
    GdkGeometry limits{};
    limits.min_width = points(size.width);
    limits.min_height = points(size.height);
    gtk_window_set_geometry_hints(native->window.get(), nullptr, &limits, GDK_HINT_MIN_SIZE);
}

void NSWindow::center()
{
    const GdkRectangle monitor = monitorOf(native->window.get());
    CGRect centred = frame();
    centred.origin = {std::max(0.0, (monitor.width - centred.size.width) / 2),
        std::max(0.0, (monitor.height - centred.size.height) / 2)};
    setFrame(centred);
}

void NSWindow::setBackgroundColor(const NSColor& color)
{
    if (!native->background) {
        native->background = detail::ObjectPtr<GtkCssProvider>::adopt(gtk_css_provider_new());
        gtk_style_context_add_provider(gtk_widget_get_style_context(GTK_WIDGET(native->window.get())),
            GTK_STYLE_PROVIDER(native->background.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    }
    const auto byte = [](double component) {
        return static_cast<int>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    };
    char alpha[G_ASCII_DTOSTR_BUF_SIZE]; // CSS wants a full stop, whatever the user's language
    g_ascii_formatd(alpha, sizeof alpha, "%.4f", std::clamp(color.alphaComponent, 0.0, 1.0));
    char style[128];
    std::snprintf(style, sizeof style, "window { background: rgba(%d, %d, %d, %s); }",
        byte(color.redComponent), byte(color.greenComponent), byte(color.blueComponent), alpha);
    gtk_css_provider_load_from_data(native->background.get(), style, -1, nullptr);
}

void NSWindow::makeKeyAndOrderFront()
{
    application().keep(std::static_pointer_cast<NSWindow>(shared_from_this()));
    gtk_widget_show(GTK_WIDGET(native->window.get()));
    gtk_window_present(native->window.get());
}

void NSWindow::orderOut()
{
    const auto alive = shared_from_this(); // the application may hold the last reference
    gtk_widget_hide(GTK_WIDGET(native->window.get()));
    application().letGo(*this);
}

bool NSWindow::isVisible() const
{
    return gtk_widget_get_visible(GTK_WIDGET(native->window.get()));
}

bool NSWindow::isKeyWindow() const
{
    return native->key;
}

void NSWindow::performClose()
{
    const auto alive = shared_from_this();
    const auto delegate = native->delegate.lock();
    if (!delegate || delegate->windowShouldClose(*this))
        close();
}

void NSWindow::close()
{
    if (std::exchange(native->closing, true))
        return; // from within its own notifications
    const auto alive = shared_from_this();
    if (const auto delegate = native->delegate.lock())
        delegate->windowWillClose(*this);
    NotificationCenter::defaultCenter().post({willCloseNotification, alive, {}});
    native->sheets.cancelAll();
    gtk_widget_hide(GTK_WIDGET(native->window.get()));
    native->closing = false;
    application().closed(*this);
}

void NSWindow::setDelegate(const std::weak_ptr<NSWindowDelegate>& delegate)
{
    native->delegate = delegate;
}

std::shared_ptr<NSWindowController> NSWindow::windowController() const
{
    return native->controller
        ? std::static_pointer_cast<NSWindowController>(native->controller->weak_from_this().lock())
        : nullptr;
}

} // namespace LumoKit
