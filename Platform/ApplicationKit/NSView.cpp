#include "NSViewNative.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace LumoKit {

namespace {

/// One axis of `autoresized`: origin and length after the superview grew by `change`.
struct Extent {
    double origin;
    double length;
};

Extent resizedExtent(Extent extent, double change, bool before, bool inside, bool after)
{
    const int parts = int(before) + int(inside) + int(after);
    if (parts == 0)
        return extent;
    const double share = change / parts;
    if (before)
        extent.origin += share;
    if (inside)
        extent.length = std::max(0.0, extent.length + share);
    return extent;
}

} // namespace

CGRect autoresized(
    const CGRect& frame, const CGSize& oldSize, const CGSize& newSize, const NSAutoresizing& parts)
{
    const auto [x, width] = resizedExtent({frame.origin.x, frame.size.width}, newSize.width - oldSize.width,
        parts.minXMargin, parts.width, parts.maxXMargin);
    const auto [y, height] = resizedExtent({frame.origin.y, frame.size.height},
        newSize.height - oldSize.height, parts.minYMargin, parts.height, parts.maxYMargin);
    return {{x, y}, {width, height}};
}

// A container of GTK that places its children by their frames and asks for no room of its own.

struct LumoViewWidget {
    GtkFixed base;
    NSView::Native* view; // null once the view is gone
};
struct LumoViewWidgetClass {
    GtkFixedClass base;
};

namespace {

G_DEFINE_TYPE(LumoViewWidget, lumo_view_widget, GTK_TYPE_FIXED)

void askForNothing(GtkWidget*, int* minimum, int* natural)
{
    *minimum = 0;
    *natural = 0;
}

void allocate(GtkWidget* widget, GtkAllocation* allocation) noexcept
{
    gtk_widget_set_allocation(widget, allocation);
    if (NSView::Native* view = reinterpret_cast<LumoViewWidget*>(widget)->view)
        view->layOut(*allocation);
}

void lumo_view_widget_init(LumoViewWidget* widget)
{
    gtk_widget_set_has_window(GTK_WIDGET(widget), FALSE);
}

void lumo_view_widget_class_init(LumoViewWidgetClass* type)
{
    auto* widget = GTK_WIDGET_CLASS(type);
    widget->size_allocate = &allocate;
    widget->get_preferred_width = &askForNothing;
    widget->get_preferred_height = &askForNothing;
}

GtkWidget* containerOf(NSView::Native* view)
{
    auto* made = GTK_WIDGET(g_object_new(lumo_view_widget_get_type(), nullptr));
    reinterpret_cast<LumoViewWidget*>(made)->view = view;
    return made;
}

std::unique_ptr<NSView::Native> makeContainer()
{
    static_cast<void>(NSApplication::shared()); // no widget before there is a display
    auto native = std::make_unique<NSView::Native>(containerOf(nullptr));
    reinterpret_cast<LumoViewWidget*>(native->widget.get())->view = native.get();
    native->isPlain = true;
    gtk_widget_show(native->widget.get());
    return native;
}

/// Gives a child its place: GTK counts from the top left of the window, a frame from the bottom left of its
/// superview.
void place(NSView::Native& child, const GtkAllocation& parent)
{
    const CGRect& frame = child.frame;
    int least = 0;
    int natural = 0;
    int leastHeight = 0;
    gtk_widget_get_preferred_width(
        child.widget.get(), &least, &natural); // GTK wants to be asked before it is told
    gtk_widget_get_preferred_height(child.widget.get(), &leastHeight, &natural);
    GtkAllocation allocation;
    allocation.x = parent.x + static_cast<int>(std::lround(frame.minX()));
    allocation.y = parent.y + static_cast<int>(std::lround(parent.height - frame.maxY()));
    allocation.width = std::max(1, static_cast<int>(std::lround(frame.width())));
    allocation.height = std::max(1, static_cast<int>(std::lround(frame.height())));
    if (child.keepsItsWidth) {
        const int wider = least - allocation.width;
        const int higher = std::max(0, leastHeight - allocation.height);
        allocation = {allocation.x - wider / 2, allocation.y - higher / 2, least, allocation.height + higher};
    }
    gtk_widget_size_allocate(child.outer(), &allocation);
}

} // namespace

namespace {
constexpr const char* viewKey = "lumokit-view";
}

NSView* NSView::Native::viewOf(GtkWidget* widget)
{
    return static_cast<NSView*>(g_object_get_data(G_OBJECT(widget), viewKey));
}

NSView::Native::~Native()
{
    // Views that somebody else still holds outlive their superview, and so must their widgets.
    for (const auto& view : subviews) {
        view->nativeView().superview = nullptr;
        gtk_container_remove(GTK_CONTAINER(container()), view->nativeView().outer());
    }
    if (isPlain || holder)
        reinterpret_cast<LumoViewWidget*>(container())->view = nullptr;
    gtk_widget_destroy(widget.get());
    if (holder)
        gtk_widget_destroy(holder.get());
}

GtkWidget* NSView::Native::container()
{
    if (isPlain)
        return widget.get();
    if (holder)
        return holder.get();
    // Into the control's place, and the control into it. What is above the control moves up again behind it.
    GtkWidget* control = widget.get();
    GtkWidget* top = gtk_widget_get_toplevel(control);
    GtkWidget* focus = GTK_IS_WINDOW(top) ? gtk_window_get_focus(GTK_WINDOW(top)) : nullptr;
    const bool focused = focus && (focus == control || gtk_widget_is_ancestor(focus, control));
    auto made = detail::ObjectPtr<GtkWidget>::adopt(containerOf(this));
    gtk_widget_set_visible(made.get(), gtk_widget_get_visible(control));
    GtkWidget* parent = gtk_widget_get_parent(control);
    if (parent)
        gtk_container_remove(GTK_CONTAINER(parent), control);
    gtk_widget_show(control);
    holder = made;
    gtk_container_add(GTK_CONTAINER(holder.get()), control);
    if (window)
        window->nativeWindow().showContent(holder.get());
    else if (parent)
        gtk_container_add(GTK_CONTAINER(parent), holder.get());
    if (superview) {
        const auto& siblings = superview->native->subviews;
        const auto self =
            std::ranges::find_if(siblings, [this](const auto& view) { return view->native.get() == this; });
        for (auto above = self == siblings.end() ? self : std::next(self); above != siblings.end(); ++above) {
            const auto kept = detail::ObjectPtr<GtkWidget>::retain((*above)->native->outer());
            gtk_container_remove(GTK_CONTAINER(parent), kept.get());
            gtk_container_add(GTK_CONTAINER(parent), kept.get());
        }
    }
    if (focused)
        gtk_widget_grab_focus(focus);
    return holder.get();
}

NSView* NSView::Native::takerOfMouse(NSView& view, const CGPoint& at)
{
    if (view.isHidden() || at.x < 0 || at.y < 0 || at.x >= frame.width() || at.y >= frame.height())
        return nullptr;
    for (auto each = subviews.rbegin(); each != subviews.rend(); ++each) {
        NSView::Native& child = (*each)->nativeView();
        if (NSView* taker =
                child.takerOfMouse(**each, {at.x - child.frame.origin.x, at.y - child.frame.origin.y}))
            return taker;
    }
    return !isPlain || view.takesMouse() ? &view : nullptr;
}

void NSView::Native::resize(const CGSize& size)
{
    const CGSize old = std::exchange(frame.size, size);
    if (old == size)
        return;
    for (const auto& view : subviews) {
        NSView::Native& child = view->nativeView();
        const CGRect moved = autoresized(child.frame, old, size, child.autoresizing);
        child.frame.origin = moved.origin;
        child.resize(moved.size);
    }
}

void NSView::Native::layOut(const GtkAllocation& allocation)
{
    // Only the top view follows what GTK gives it. The frames below follow from its own: GTK's are whole
    // points, and hidden views get none.
    if (!superview)
        resize({double(allocation.width), double(allocation.height)});
    if (holder) { // GTK wants to be asked before it is told
        int least = 0;
        gtk_widget_get_preferred_width(widget.get(), &least, nullptr);
        gtk_widget_get_preferred_height(widget.get(), &least, nullptr);
        GtkAllocation all = allocation;
        gtk_widget_size_allocate(widget.get(), &all);
    }
    for (const auto& view : subviews)
        place(view->nativeView(), allocation);
}

NSView::NSView(const CGRect& frame)
    : NSView(makeContainer())
{
    native->frame = frame;
}

NSView::NSView(const NSCoder& coder)
    : NSView(makeContainer())
{
    decode(coder);
}

NSView::NSView(std::unique_ptr<Native> made)
    : native(std::move(made))
{
    assertMainThread();
    g_object_set_data(G_OBJECT(native->widget.get()), viewKey, this);
}

void NSView::decode(const NSCoder& coder)
{
    native->frame = coder.decodeRect("frame");
    native->identifier = coder.decodeString("identifier");
    const Value parts = coder.decodeObject("autoresizing");
    if (const auto* names = parts.asArray())
        for (const auto& [name, part] :
            {std::pair{"minXMargin", &NSAutoresizing::minXMargin}, {"width", &NSAutoresizing::width},
                {"maxXMargin", &NSAutoresizing::maxXMargin}, {"minYMargin", &NSAutoresizing::minYMargin},
                {"height", &NSAutoresizing::height}, {"maxYMargin", &NSAutoresizing::maxYMargin}})
            native->autoresizing.*part = std::ranges::find(*names, Value(name)) != names->end();
    if (coder.decodeBool("hidden"))
        setHidden(true);
}

NSView::~NSView()
{
    if (native->layer) // somebody else may hold it
        native->layer->changed = {};
    g_object_set_data(G_OBJECT(native->widget.get()), viewKey, nullptr);
}

const CGRect& NSView::frame() const
{
    return native->frame;
}

void NSView::setFrame(const CGRect& frame)
{
    if (frame == native->frame)
        return;
    native->frame.origin = frame.origin;
    native->resize(frame.size);
    if (native->superview)
        gtk_widget_queue_resize(native->superview->native->outer());
}

CGRect NSView::bounds() const
{
    return {{}, native->frame.size};
}

const NSAutoresizing& NSView::autoresizing() const
{
    return native->autoresizing;
}

void NSView::setAutoresizing(const NSAutoresizing& parts)
{
    native->autoresizing = parts;
}

void NSView::addSubview(std::shared_ptr<NSView> view)
{
    if (!view)
        fatalError("there is no view to add");
    for (const NSView* holder = this; holder; holder = holder->native->superview)
        if (holder == view.get())
            fatalError("a view cannot be put into itself");
    view->removeFromSuperview();
    view->native->superview = this;
    gtk_container_add(GTK_CONTAINER(native->container()), view->native->outer());
    native->subviews.push_back(std::move(view));
}

void NSView::removeFromSuperview()
{
    const auto self = shared_from_this(); // the superview may hold the last reference
    GtkWidget* widget = native->outer();
    if (GtkWidget* parent = gtk_widget_get_parent(widget))
        gtk_container_remove(GTK_CONTAINER(parent), widget);
    if (NSView* holder = std::exchange(native->superview, nullptr))
        std::erase_if(holder->native->subviews, [&](const auto& view) { return view.get() == this; });
    if (NSWindow* window = std::exchange(native->window, nullptr))
        window->setContentView(std::make_shared<NSView>());
}

const std::vector<std::shared_ptr<NSView>>& NSView::subviews() const
{
    return native->subviews;
}

std::shared_ptr<NSView> NSView::superview() const
{
    return native->superview ? std::static_pointer_cast<NSView>(native->superview->shared_from_this())
                             : nullptr;
}

std::shared_ptr<NSWindow> NSView::window() const
{
    const NSView* top = this;
    while (top->native->superview)
        top = top->native->superview;
    NSWindow* window = top->native->window;
    return window ? std::static_pointer_cast<NSWindow>(window->weak_from_this().lock()) : nullptr;
}

bool NSView::performKeyEquivalent(const NSEvent& with)
{
    const auto alive = shared_from_this();
    const auto asked = native->subviews; // what one does may change them
    return std::ranges::any_of(
        asked, [&](const auto& view) { return !view->isHidden() && view->performKeyEquivalent(with); });
}

const std::string& NSView::identifier() const
{
    return native->identifier;
}

void NSView::setIdentifier(std::string identifier)
{
    native->identifier = std::move(identifier);
}

std::shared_ptr<NSView> NSView::view(std::string_view withIdentifier)
{
    if (!withIdentifier.empty() && native->identifier == withIdentifier)
        return std::static_pointer_cast<NSView>(shared_from_this());
    for (const auto& subview : native->subviews)
        if (auto found = subview->view(withIdentifier))
            return found;
    return nullptr;
}

const std::shared_ptr<CALayer>& NSView::layer() const
{
    return native->layer;
}

void NSView::setWantsLayer(bool wants)
{
    assertMainThread();
    if (wants == wantsLayer())
        return;
    GtkWidget* widget = native->widget.get();
    gtk_widget_queue_draw(widget);
    if (!wants) {
        native->drawing = {};
        native->background = {};
        native->layer->changed = {};
        native->layer.reset();
        return;
    }
    native->layer = std::make_shared<CALayer>();
    native->layer->changed = [widget] { gtk_widget_queue_draw(widget); };
    // Before the widget draws itself and what is in it.
    native->drawing = detail::SignalConnection::connect<gboolean(GtkWidget*, cairo_t*)>(
        widget, "draw", [view = native.get()](GtkWidget* drawn, cairo_t* onto) -> gboolean {
            view->background.paint(onto, *view->layer, gtk_widget_get_allocated_width(drawn),
                gtk_widget_get_allocated_height(drawn), gtk_widget_get_scale_factor(drawn));
            return FALSE;
        });
}

void NSView::setNeedsDisplay(const CGRect& in)
{
    const CGRect all = bounds();
    const double left = std::floor(std::clamp(in.minX(), 0.0, all.maxX()));
    const double right = std::ceil(std::clamp(in.maxX(), 0.0, all.maxX()));
    const double top = std::floor(all.maxY() - std::clamp(in.maxY(), 0.0, all.maxY()));
    const double bottom = std::ceil(all.maxY() - std::clamp(in.minY(), 0.0, all.maxY()));
    GtkWidget* widget = native->widget.get();
    GtkAllocation origin{}; // a widget without a window of its own counts from its window's corner
    if (!gtk_widget_get_has_window(widget))
        gtk_widget_get_allocation(widget, &origin);
    gtk_widget_queue_draw_area(widget, origin.x + static_cast<int>(left), origin.y + static_cast<int>(top),
        static_cast<int>(right - left), static_cast<int>(bottom - top));
}

bool NSView::isHidden() const
{
    return !gtk_widget_get_visible(native->outer());
}

void NSView::setHidden(bool hidden)
{
    gtk_widget_set_visible(native->outer(), !hidden);
}

void NSView::mouseDown(const NSEvent&)
{
}

void NSView::mouseDragged(const NSEvent&)
{
}

void NSView::mouseUp(const NSEvent&)
{
}

} // namespace LumoKit
