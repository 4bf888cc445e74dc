#pragma once

#include "ApplicationKit/NSPrintInfoNative.h"
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

/// Has the user asked, as at the start, but with the printer for files chosen the last time: there may be no other, and
/// the panel selects none by itself.
inline void printWithPanel()
{
    const auto info = NSPrintInfo::shared();
    info->jobDisposition = NSPrintInfo::JobDisposition::spool;
    info->jobSavingURL.reset();
    gtk_print_settings_set_printer(info->nativeInfo().settings.get(), g_dgettext("gtk30", "Print to File"));
}

/// The file that print panels suggest.
inline void suggest(const std::filesystem::path& file)
{
    gtk_print_settings_set(NSPrintInfo::shared()->nativeInfo().settings.get(), GTK_PRINT_SETTINGS_OUTPUT_URI,
        URL::fileURL(file.string()).absoluteString().c_str());
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
