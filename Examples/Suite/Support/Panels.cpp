#include "Support/Panels.h"

#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Utility/DispatchQueue.h>

#include <memory>
#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr double pause = 0.05; // between two looks, in seconds
constexpr int looks = 200;

/// Calls `look` until it is true, and then `ended`; with false where it never is.
void await(std::function<bool()> look, std::function<void(bool)> ended, int left = looks)
{
    if (look())
        return ended(true);
    if (left == 0)
        return ended(false);
    delay(pause, DispatchQueue::main(), [look = std::move(look), ended = std::move(ended), left]() mutable {
        await(std::move(look), std::move(ended), left - 1);
    });
}

/// The panel in front; null if there is none.
GtkDialog* panel()
{
    GtkDialog* shown = nullptr;
    GList* windows = gtk_window_list_toplevels();
    for (GList* each = windows; each; each = each->next)
        if (GTK_IS_DIALOG(each->data) && gtk_widget_get_mapped(GTK_WIDGET(each->data)))
            shown = GTK_DIALOG(each->data);
    g_list_free(windows);
    return shown;
}

/// The first widget in another one that fits; null if there is none.
GtkWidget* find(GtkWidget* in, const std::function<bool(GtkWidget*)>& fits)
{
    if (fits(in))
        return in;
    if (!GTK_IS_CONTAINER(in))
        return nullptr;
    GtkWidget* found = nullptr;
    GList* children = gtk_container_get_children(GTK_CONTAINER(in));
    for (GList* each = children; each && !found; each = each->next)
        found = find(GTK_WIDGET(each->data), fits);
    g_list_free(children);
    return found;
}

GtkWidget* button(GtkDialog* in, const std::string& title)
{
    return find(GTK_WIDGET(in), [&](GtkWidget* widget) {
        return GTK_IS_BUTTON(widget) && gtk_widget_get_sensitive(widget)
            && title
            == (gtk_button_get_label(GTK_BUTTON(widget)) ? gtk_button_get_label(GTK_BUTTON(widget)) : "");
    });
}

/// Presses a button of a panel, and waits until it is gone.
void press(GtkWidget* pressed, GtkDialog* of, std::function<void(bool)> answered)
{
    gtk_button_clicked(GTK_BUTTON(pressed));
    await([of] { return panel() != of; }, std::move(answered));
}

} // namespace

void answerAlert(const std::string& title, PanelInput input, std::function<void(bool)> answered)
{
    const auto isThere = [title] { return panel() && button(panel(), title); };
    await(isThere, [title, input = std::move(input), answered = std::move(answered)](bool came) mutable {
        if (!came)
            return answered(false);
        GtkDialog* const alert = panel();
        GtkWidget* const field =
            find(GTK_WIDGET(alert), [](GtkWidget* widget) { return GTK_IS_ENTRY(widget); });
        GtkWidget* const box =
            find(GTK_WIDGET(alert), [](GtkWidget* widget) { return GTK_IS_CHECK_BUTTON(widget); });
        if (field && !input.text.empty())
            gtk_entry_set_text(GTK_ENTRY(field), input.text.c_str());
        if (box && input.ticks)
            gtk_button_clicked(GTK_BUTTON(box));
        press(button(alert, title), alert, std::move(answered));
    });
}

void chooseInOpenPanel(const std::filesystem::path& file, std::function<void(bool)> answered)
{
    // The folder's files are read in the background: what is selected before that counts once they are there.
    const auto isChosen = [file] {
        GtkDialog* const open = panel();
        if (!open || !GTK_IS_FILE_CHOOSER(open))
            return false;
        char* const selected = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(open));
        const bool isIt = selected && file == selected;
        g_free(selected);
        if (!isIt)
            gtk_file_chooser_set_filename(GTK_FILE_CHOOSER(open), file.c_str());
        return isIt;
    };
    await(isChosen, [answered = std::move(answered)](bool chosen) mutable {
        if (!chosen)
            return answered(false);
        press(button(panel(), "Open"), panel(), std::move(answered));
    });
}

} // namespace LumoSuite
