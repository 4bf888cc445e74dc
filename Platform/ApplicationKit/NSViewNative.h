#pragma once

#include "LayerBackground.h"

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

namespace LumoKit {

/// The platform's side of a view: one widget. That of a plain view is a container of its subviews; a control gets a
/// container around it with its first subview.
struct NSView::Native {
    explicit Native(GtkWidget* made)
        : widget(detail::ObjectPtr<GtkWidget>::adopt(made))
    {
    }
    virtual ~Native();
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;

    /// The view that a widget was made for; null for one that is part of another or none of the kit's.
    [[nodiscard]] static NSView* viewOf(GtkWidget* widget);

    /// Gives the view a size, and every subview below it what follows from that. Nothing is placed yet.
    void resize(const CGSize& size);
    /// Puts the subviews where their frames say, within what GTK has given this view.
    void layOut(const GtkAllocation& allocation);

    /// The widget that stands for the view in its superview or window.
    [[nodiscard]] GtkWidget* outer() const { return holder ? holder.get() : widget.get(); }
    /// The container of the subviews.
    GtkWidget* container();
    /// The view at a point of this one that takes the mouse, a control among them; null for none.
    /// `at` is in the view's own coordinates.
    [[nodiscard]] NSView* takerOfMouse(NSView& view, const CGPoint& at);

    detail::ObjectPtr<GtkWidget> widget;
    detail::ObjectPtr<GtkWidget> holder; // around a control that has subviews
    CGRect frame;
    NSAutoresizing autoresizing;
    bool isPlain = false; // its widget is a container
    bool keepsItsWidth =
        false; // its widget's own, in the middle of the frame; and no less than its own height
    bool isPage = false; // takes keys through `performKeyEquivalent`, and gives back what it does not handle
    std::vector<std::shared_ptr<NSView>> subviews;
    NSView* superview = nullptr; // it keeps this view, so that it is there as long as this pointer is set
    std::string identifier;
    std::shared_ptr<CALayer> layer; // null without one
    detail::LayerBackground background; // of the layer
    detail::SignalConnection drawing; // as long as there is a layer
    NSWindow* window = nullptr; // set on a window's content view; the window keeps it
};

} // namespace LumoKit
