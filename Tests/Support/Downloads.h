#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <gtest/gtest.h>
#include <webkit2/webkit2.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace LumoKit::Test {

/// What the engine says of the files that the page of a web view would save.
struct Downloads {
    explicit Downloads(const NSView& webView)
        : context(webkit_web_view_get_context(WEBKIT_WEB_VIEW(gtkWidget(webView))))
    {
        g_signal_connect(context, "download-started", G_CALLBACK(&Downloads::begin), this);
    }
    Downloads(const Downloads&) = delete;
    Downloads& operator=(const Downloads&) = delete;
    ~Downloads() { g_signal_handlers_disconnect_by_data(context, this); }

    static void begin(WebKitWebContext*, WebKitDownload* download, Downloads* self)
    {
        g_signal_connect(download, "failed", G_CALLBACK(+[](WebKitDownload*, GError* error, int* cancelled) {
            *cancelled += error->code == WEBKIT_DOWNLOAD_ERROR_CANCELLED_BY_USER;
        }),
            &self->cancelled);
        g_signal_connect(download, "finished", // after a failure, too
            G_CALLBACK(+[](WebKitDownload*, int* count) { ++*count; }), &self->ended);
    }

    /// Whether the user has such a file where the engine would have put it.
    static bool isThere(const std::string& name)
    {
        const std::filesystem::path home = std::getenv("HOME");
        return std::filesystem::exists(home / name) || std::filesystem::exists(home / "Downloads" / name);
    }

    WebKitWebContext* const context;
    int cancelled = 0;
    int ended = 0;
};

} // namespace LumoKit::Test
