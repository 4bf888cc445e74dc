#pragma once

#include "Support/Waiting.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace LumoKit::Test {

inline std::string currentFolder(GtkDialog* panel)
{
    char* folder = gtk_file_chooser_get_current_folder(GTK_FILE_CHOOSER(panel));
    std::string path = folder ? folder : "";
    g_free(folder);
    return path;
}

inline GtkTreeView* listOf(GtkWidget* widget)
{
    if (GTK_IS_TREE_VIEW(widget) && gtk_widget_get_mapped(widget))
        return GTK_TREE_VIEW(widget);
    GtkTreeView* found = nullptr;
    if (GTK_IS_CONTAINER(widget)) {
        GList* children = gtk_container_get_children(GTK_CONTAINER(widget));
        for (GList* each = children; each && !found; each = each->next)
            found = listOf(GTK_WIDGET(each->data));
        g_list_free(children);
    }
    return found;
}

/// Selects files in the list of an open panel, as clicks on them do; they lie in the folder that it shows. True once
/// they, and nothing else, are selected.
[[nodiscard]] inline bool choose(GtkDialog* panel, const std::vector<std::filesystem::path>& files)
{
    const auto selectRows = [&] {
        GtkTreeView* list = listOf(GTK_WIDGET(panel));
        GtkTreeModel* model = list ? gtk_tree_view_get_model(list) : nullptr;
        if (!model)
            return std::size_t(0);
        gtk_tree_selection_unselect_all(gtk_tree_view_get_selection(list));
        std::size_t selected = 0;
        GtkTreeIter row;
        for (gboolean more = gtk_tree_model_get_iter_first(model, &row); more;
            more = gtk_tree_model_iter_next(model, &row))
            for (int column = 0; column < gtk_tree_model_get_n_columns(model); ++column) {
                if (gtk_tree_model_get_column_type(model, column) != G_TYPE_FILE)
                    continue;
                GFile* file = nullptr;
                gtk_tree_model_get(model, &row, column, &file, -1);
                char* path = file ? g_file_get_path(file) : nullptr;
                if (path && std::ranges::find(files, std::filesystem::path(path)) != files.end()) {
                    gtk_tree_selection_select_iter(gtk_tree_view_get_selection(list), &row);
                    ++selected;
                }
                g_free(path);
                g_clear_object(&file);
            }
        return selected;
    };
    return waitUntil([&] {
        if (selectRows() != files.size())
            return false;
        GSList* names = gtk_file_chooser_get_filenames(GTK_FILE_CHOOSER(panel));
        const bool all = g_slist_length(names) == files.size();
        g_slist_free_full(names, g_free);
        return all;
    });
}

/// Presses the button "Open".
inline void confirm(GtkDialog* panel)
{
    for (const int response : {1, int(GTK_RESPONSE_ACCEPT)})
        if (GtkWidget* button = gtk_dialog_get_widget_for_response(panel, response)) {
            gtk_button_clicked(GTK_BUTTON(button));
            return;
        }
}

} // namespace LumoKit::Test
