#pragma once

#include "Support/Panels.h"

#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>

#include <gtk/gtkunixprint.h>

#include <filesystem>

namespace LumoKit::Test {

/// Has everything printed into a file, without a panel.
inline void printInto(const std::filesystem::path& file)
{
    const auto info = NSPrintInfo::shared();
    info->jobDisposition = NSPrintInfo::JobDisposition::save;
    info->jobSavingURL = URL::fileURL(file.string());
}

/// Has the user asked, as at the start.
inline void printWithPanel()
{
    const auto info = NSPrintInfo::shared();
    info->jobDisposition = NSPrintInfo::JobDisposition::spool;
    info->jobSavingURL.reset();
}

/// The print panel above a window, once it is there and can be confirmed; null if there is none.
inline GtkPrintUnixDialog* waitForPrintPanel(const NSWindow& window)
{
    const bool ready = waitUntil([&] {
        GtkDialog* panel = panelOf(window);
        return panel && GTK_IS_PRINT_UNIX_DIALOG(panel)
            && gtk_print_unix_dialog_get_selected_printer(GTK_PRINT_UNIX_DIALOG(panel))
            && gtk_widget_get_sensitive(gtk_dialog_get_widget_for_response(panel, GTK_RESPONSE_OK));
    });
    return ready ? GTK_PRINT_UNIX_DIALOG(panelOf(window)) : nullptr;
}

/// Presses the panel's button of a response.
inline void press(GtkPrintUnixDialog* panel, GtkResponseType response)
{
    gtk_button_clicked(GTK_BUTTON(gtk_dialog_get_widget_for_response(GTK_DIALOG(panel), response)));
}

} // namespace LumoKit::Test
