#include "NSViewNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <utility>

namespace LumoKit {

namespace {

struct PopUpNative final : NSView::Native {
    PopUpNative()
        : Native((static_cast<void>(NSApplication::shared()),
              gtk_combo_box_text_new())) // no widget before there is a display
    {
        gtk_widget_show(widget.get());
    }
    [[nodiscard]] GtkComboBox* box() const { return GTK_COMBO_BOX(widget.get()); }

    detail::SignalConnection changed;
    bool choosing = false; // not the user, but whoever calls `selectItem`
};

PopUpNative& nativeOf(const NSPopUpButton& button)
{
    return static_cast<PopUpNative&>(button.nativeView());
}

} // namespace

NSPopUpButton::NSPopUpButton(const std::vector<std::string>& titles, const CGRect& frame)
    : NSView(std::make_unique<PopUpNative>())
{
    nativeView().frame = frame;
    for (const auto& title : titles)
        gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(nativeOf(*this).box()), title.c_str());
    gtk_combo_box_set_active(nativeOf(*this).box(), 0);
}

void NSPopUpButton::addItem(const std::string& withTitle)
{
    gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(nativeOf(*this).box()), withTitle.c_str());
}

void NSPopUpButton::removeAllItems()
{
    auto& native = nativeOf(*this);
    const bool before = std::exchange(native.choosing, true);
    gtk_combo_box_text_remove_all(GTK_COMBO_BOX_TEXT(native.box()));
    native.choosing = before;
}

std::int64_t NSPopUpButton::numberOfItems() const
{
    return gtk_tree_model_iter_n_children(gtk_combo_box_get_model(nativeOf(*this).box()), nullptr);
}

std::int64_t NSPopUpButton::indexOfSelectedItem() const
{
    return gtk_combo_box_get_active(nativeOf(*this).box());
}

std::string NSPopUpButton::titleOfSelectedItem() const
{
    const detail::GText title(gtk_combo_box_text_get_active_text(GTK_COMBO_BOX_TEXT(nativeOf(*this).box())));
    return title ? title.get() : "";
}

void NSPopUpButton::selectItem(std::int64_t at)
{
    auto& native = nativeOf(*this);
    const bool exists = at >= 0 && at < numberOfItems();
    const bool before = std::exchange(native.choosing, true);
    gtk_combo_box_set_active(native.box(), exists ? static_cast<int>(at) : -1);
    native.choosing = before;
}

void NSPopUpButton::setAction(std::function<void(NSPopUpButton&)> action)
{
    auto& native = nativeOf(*this);
    native.changed = {};
    if (!action)
        return;
    native.changed = detail::SignalConnection::connect<void(GtkComboBox*)>(
        native.box(), "changed", [this, action = std::move(action)](auto*) {
            if (nativeOf(*this).choosing)
                return;
            // The action may remove the button, and the toolkit goes on with its box after that.
            DispatchQueue::main()->async([alive = shared_from_this()] { });
            action(*this);
        });
}

void NSPopUpButton::performActionForItem(std::int64_t at)
{
    if (at >= 0 && at < numberOfItems() && gtk_widget_get_sensitive(nativeView().widget.get()))
        gtk_combo_box_set_active(nativeOf(*this).box(), static_cast<int>(at));
}

} // namespace LumoKit
