#include "Panel.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSOpenPanel.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <filesystem>
#include <string>
#include <utility>

namespace LumoKit {

namespace {

/// The chooser acts by itself on the toolkit's own responses: it enters the folder that is selected. Where folders
/// can be chosen among files, confirming must not do that, and has a number of its own.
constexpr int confirmed = 1;

std::optional<URL>& folderOfLastChoice()
{
    static std::optional<URL> folder;
    return folder;
}

std::vector<std::string> selectedPaths(GtkFileChooser* chooser)
{
    std::vector<std::string> paths;
    GSList* names = gtk_file_chooser_get_filenames(chooser);
    for (const GSList* each = names; each; each = each->next)
        paths.emplace_back(static_cast<const char*>(each->data));
    g_slist_free_full(names, g_free);
    return paths;
}

} // namespace

/// What there is of a panel while it is up.
struct NSOpenPanel::Screen {
    std::shared_ptr<detail::Panel> panel;
    detail::SignalConnection answered;

    [[nodiscard]] GtkFileChooser* chooser() const { return GTK_FILE_CHOOSER(panel->dialog()); }
};

NSOpenPanel::NSOpenPanel()
{
    assertMainThread();
    static_cast<void>(NSApplication::shared()); // no widget before there is a display
}

NSOpenPanel::~NSOpenPanel() = default;

void NSOpenPanel::build()
{
    if (screen)
        fatalError("the open panel is up already");
    chosen.clear();
    const bool files = canChooseFiles || !canChooseDirectories;
    const bool both = files && canChooseDirectories;
    const int confirm = both ? confirmed : int(GTK_RESPONSE_ACCEPT);
    const char* title = !files ? "Choose a Folder" : allowsMultipleSelection ? "Open Files" : "Open File";
    GtkWidget* dialog = gtk_file_chooser_dialog_new(title, nullptr,
        files ? GTK_FILE_CHOOSER_ACTION_OPEN : GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, "Cancel",
        GTK_RESPONSE_CANCEL, "Open", confirm, nullptr);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), confirm);
    screen = std::make_unique<Screen>();
    screen->panel = std::make_shared<detail::Panel>(GTK_WINDOW(dialog));
    gtk_file_chooser_set_select_multiple(screen->chooser(), allowsMultipleSelection);
    const auto& folder = directoryURL ? directoryURL : folderOfLastChoice();
    if (folder)
        gtk_file_chooser_set_current_folder(screen->chooser(), folder->path().c_str());
    screen->answered = detail::SignalConnection::connect<void(GtkDialog*, int)>(
        dialog, "response", [this, confirm](auto*, int response) {
            const auto alive = shared_from_this();
            if (response == confirm)
                this->confirm();
            else
                screen->panel->end(NSModalResponseCancel);
        });
}

void NSOpenPanel::confirm()
{
    const bool filesOnly = !canChooseDirectories;
    std::vector<URL> selected;
    for (const std::string& path : selectedPaths(screen->chooser())) {
        std::error_code failed;
        const auto status = std::filesystem::status(path, failed);
        if (!std::filesystem::exists(status) || (filesOnly && std::filesystem::is_directory(status)))
            return gtk_widget_error_bell(GTK_WIDGET(screen->panel->dialog())); // a typed name can be anything
        selected.push_back(URL::fileURL(path));
    }
    if (selected.empty())
        return gtk_widget_error_bell(GTK_WIDGET(screen->panel->dialog()));
    folderOfLastChoice() =
        URL::fileURL(std::filesystem::path(selected.front().path()).parent_path().string());
    chosen = std::move(selected);
    screen->panel->end(NSModalResponseOK);
}

void NSOpenPanel::beginSheetModal(
    const std::shared_ptr<NSWindow>& forWindow, CompletionHandler completionHandler)
{
    build();
    const auto self = std::static_pointer_cast<NSOpenPanel>(shared_from_this());
    screen->panel->beginSheet(
        *forWindow, [self, handler = std::move(completionHandler)](NSModalResponse response) mutable {
            self->screen.reset();
            if (handler)
                handler(response);
        });
}

NSModalResponse NSOpenPanel::runModal()
{
    const auto alive = shared_from_this();
    build();
    const NSModalResponse response = screen->panel->runModal();
    screen.reset();
    return response == NSModalResponseOK ? NSModalResponseOK : NSModalResponseCancel;
}

} // namespace LumoKit
