#pragma once

#include "Support/Waiting.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace LumoKit::Test {

/// The panels that are on screen, in no particular order.
inline std::vector<GtkDialog*> panels()
{
    std::vector<GtkDialog*> shown;
    GList* windows = gtk_window_list_toplevels();
    for (GList* each = windows; each; each = each->next)
        if (GTK_IS_DIALOG(each->data) && gtk_widget_get_mapped(GTK_WIDGET(each->data)))
            shown.push_back(GTK_DIALOG(each->data));
    g_list_free(windows);
    return shown;
}

/// The panel above a window; null without one.
inline GtkDialog* panelOf(const NSWindow& window)
{
    for (GtkDialog* panel : panels())
        if (gtk_window_get_transient_for(GTK_WINDOW(panel)) == gtkWindow(window))
            return panel;
    return nullptr;
}

/// Waits until there is one panel; null if there is none.
inline GtkDialog* waitForPanel()
{
    return waitUntil([] { return panels().size() == 1; }) ? panels().front() : nullptr;
}

/// Waits until a panel has the keyboard. Only for tests that have the screen to themselves.
[[nodiscard]] inline bool waitForKeyboard(GtkDialog* panel)
{
    return panel && waitUntil([=] { return gtk_window_is_active(GTK_WINDOW(panel)); });
}

inline std::vector<GtkWidget*> widgetsIn(GtkWidget* widget)
{
    std::vector<GtkWidget*> all{widget};
    if (GTK_IS_CONTAINER(widget)) {
        GList* children = nullptr;
        gtk_container_forall(
            GTK_CONTAINER(widget),
            +[](GtkWidget* child, gpointer list) {
                auto** into = static_cast<GList**>(list);
                *into = g_list_append(*into, child);
            },
            &children);
        for (GList* each = children; each; each = each->next)
            for (GtkWidget* inner : widgetsIn(GTK_WIDGET(each->data)))
                all.push_back(inner);
        g_list_free(children);
    }
    return all;
}

/// The visible texts of a panel's labels, those of its buttons among them, in their order.
inline std::vector<std::string> textsOf(GtkDialog* panel)
{
    std::vector<std::string> texts;
    for (GtkWidget* widget : widgetsIn(GTK_WIDGET(panel)))
        if (GTK_IS_LABEL(widget) && gtk_widget_get_mapped(widget))
            texts.emplace_back(gtk_label_get_text(GTK_LABEL(widget)));
    return texts;
}

/// The first widget of a kind in a panel; null if there is none.
template <class Type> GtkWidget* find(GtkDialog* panel, Type type)
{
    for (GtkWidget* widget : widgetsIn(GTK_WIDGET(panel)))
        if (G_TYPE_CHECK_INSTANCE_TYPE(widget, type))
            return widget;
    return nullptr;
}

inline GtkWidget* button(GtkDialog* panel, const std::string& title)
{
    for (GtkWidget* widget : widgetsIn(GTK_WIDGET(panel)))
        if (GTK_IS_BUTTON(widget) && gtk_button_get_label(GTK_BUTTON(widget))
            && title == gtk_button_get_label(GTK_BUTTON(widget)))
            return widget;
    return nullptr;
}

/// Does something to the next panel, from within the main loop that runs by then.
inline void whenPanelComes(std::function<void(GtkDialog*)> then)
{
    using Then = std::function<void(GtkDialog*)>;
    g_idle_add_full(
        G_PRIORITY_LOW,
        +[](gpointer data) -> gboolean {
            if (panels().size() != 1)
                return G_SOURCE_CONTINUE;
            (*static_cast<Then*>(data))(panels().front());
            return G_SOURCE_REMOVE;
        },
        new Then(std::move(then)), +[](gpointer data) { delete static_cast<Then*>(data); });
}

} // namespace LumoKit::Test
