#include "NSImageNative.h"
#include "NSViewNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <cairo-gobject.h>

#include <utility>

namespace LumoKit {

namespace {

enum Column { picture, title, columns };

struct PopUpNative final : NSView::Native {
    PopUpNative()
        : Native((static_cast<void>(NSApplication::shared()),
              gtk_combo_box_new())) // no widget before there is a display
        , items(detail::ObjectPtr<GtkListStore>::adopt(
              gtk_list_store_new(columns, CAIRO_GOBJECT_TYPE_SURFACE, G_TYPE_STRING)))
    {
        gtk_combo_box_set_model(box(), GTK_TREE_MODEL(items.get()));
        GtkCellRenderer* image = gtk_cell_renderer_pixbuf_new();
        g_object_set(image, "xpad", 3, nullptr);
        gtk_cell_layout_pack_start(GTK_CELL_LAYOUT(box()), image, FALSE);
        gtk_cell_layout_set_attributes(GTK_CELL_LAYOUT(box()), image, "surface", picture, nullptr);
        gtk_cell_layout_set_cell_data_func(
            GTK_CELL_LAYOUT(box()), image,
            +[](GtkCellLayout*, GtkCellRenderer* cell, GtkTreeModel* model, GtkTreeIter* item, gpointer) {
                cairo_surface_t* surface = nullptr;
                gtk_tree_model_get(model, item, picture, &surface, -1);
                gtk_cell_renderer_set_visible(cell, surface != nullptr); // else it takes room
                if (surface)
                    cairo_surface_destroy(surface);
            },
            nullptr, nullptr);
        GtkCellRenderer* text = gtk_cell_renderer_text_new();
        g_object_set(text, "ellipsize", PANGO_ELLIPSIZE_END, nullptr);
        gtk_cell_layout_pack_start(GTK_CELL_LAYOUT(box()), text, TRUE);
        gtk_cell_layout_set_attributes(GTK_CELL_LAYOUT(box()), text, "text", title, nullptr);
        gtk_widget_show(widget.get());
    }
    [[nodiscard]] GtkComboBox* box() const { return GTK_COMBO_BOX(widget.get()); }
    [[nodiscard]] GtkTreeModel* model() const { return GTK_TREE_MODEL(items.get()); }
    void append(const std::string& text) const
    {
        gtk_list_store_insert_with_values(items.get(), nullptr, -1, title, text.c_str(), -1);
    }

    const detail::ObjectPtr<GtkListStore> items;

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
        nativeOf(*this).append(title);
    gtk_combo_box_set_active(nativeOf(*this).box(), 0);
}

void NSPopUpButton::addItem(const std::string& withTitle)
{
    nativeOf(*this).append(withTitle);
}

void NSPopUpButton::setImage(const std::shared_ptr<NSImage>& image, std::int64_t forItemAt)
{
    const auto& native = nativeOf(*this);
    GtkTreeIter item;
    if (forItemAt < 0 || forItemAt >= numberOfItems()
        || !gtk_tree_model_iter_nth_child(native.model(), &item, nullptr, static_cast<int>(forItemAt)))
        return;
    const auto surface =
        image ? detail::drawableSurface(*image, gtk_widget_get_scale_factor(native.widget.get())) : nullptr;
    gtk_list_store_set(native.items.get(), &item, picture, surface.get(), -1);
}

void NSPopUpButton::removeAllItems()
{
    auto& native = nativeOf(*this);
    const bool before = std::exchange(native.choosing, true);
    gtk_list_store_clear(native.items.get());
    native.choosing = before;
}

std::int64_t NSPopUpButton::numberOfItems() const
{
    return gtk_tree_model_iter_n_children(nativeOf(*this).model(), nullptr);
}

std::int64_t NSPopUpButton::indexOfSelectedItem() const
{
    return gtk_combo_box_get_active(nativeOf(*this).box());
}

std::string NSPopUpButton::titleOfSelectedItem() const
{
    GtkTreeIter item;
    if (!gtk_combo_box_get_active_iter(nativeOf(*this).box(), &item))
        return "";
    char* text = nullptr;
    gtk_tree_model_get(nativeOf(*this).model(), &item, title, &text, -1);
    const detail::GText owned(text);
    return owned ? owned.get() : "";
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
