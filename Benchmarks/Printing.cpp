#include "Compare.h"

#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/WebPrinter.h>

#include <glib/gi18n.h>
#include <stdlib.h>
#include <webkit2/webkit2.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace LumoKit::Bench {

namespace {

namespace fs = std::filesystem;

/// A conversation of a hundred pages.
const std::string& conversation()
{
    static const std::string html = [] {
        std::string text = "<!doctype html><meta charset=utf-8><style>section { break-after: page }"
                           "section:last-child { break-after: auto }</style>";
        for (int page = 1; page <= 100; ++page) {
            text += "<section><h2>Message " + std::to_string(page) + "</h2>";
            for (int paragraph = 0; paragraph < 8; ++paragraph)
                text += "<p>The quick brown fox jumps over the lazy dog, and on the way back it meets "
                        "<b>several</b> others "
                        "who ask it <i>what that was for</i>.</p>";
            text += "</section>";
        }
        return text;
    }();
    return html;
}

const fs::path& file()
{
    struct Folder {
        Folder()
        {
            std::string pattern = fs::temp_directory_path() / "print-XXXXXX";
            path = ::mkdtemp(pattern.data());
        }
        ~Folder()
        {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
        fs::path path;
    };
    static const Folder folder;
    static const fs::path printed = folder.path / "printed.pdf";
    return printed;
}

bool isComplete()
{
    std::ifstream in(file(), std::ios::binary | std::ios::ate);
    if (!in || in.tellg() < 8)
        return false;
    in.seekg(-8, std::ios::end);
    std::string end(8, ' ');
    in.read(end.data(), 8);
    return end.find("%%EOF") != end.npos;
}

/// Milliseconds from asking for it until the file is complete.
double millisecondsToFile(const std::function<void()>& begin)
{
    std::error_code ignored;
    fs::remove(file(), ignored);
    return secondsOf([&] {
        begin();
        const guint ticks =
            g_timeout_add(2, +[](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
        while (!isComplete())
            g_main_context_iteration(nullptr, TRUE);
        g_source_remove(ticks);
    }) * 1e3;
}

double printByKit()
{
    const auto info = NSPrintInfo::shared();
    info->jobDisposition = NSPrintInfo::JobDisposition::save;
    info->jobSavingURL = URL::fileURL(file().string());
    const auto printer = std::make_shared<WebPrinter>(NSWindow::create({{}, {200, 200}}));
    return millisecondsToFile([&] { printer->printHtml(conversation(), std::nullopt); });
}

double printByEngine()
{
    GtkPageSetup* setup = gtk_page_setup_new();
    for (const auto set : {gtk_page_setup_set_top_margin, gtk_page_setup_set_bottom_margin,
             gtk_page_setup_set_left_margin, gtk_page_setup_set_right_margin})
        set(setup, 30, GTK_UNIT_POINTS);
    GtkPrintSettings* settings = gtk_print_settings_new();
    gtk_print_settings_set_printer(settings, g_dgettext("gtk30", "Print to File"));
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_URI, ("file://" + file().string()).c_str());
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    GtkWidget* window = nullptr;
    WebKitPrintOperation* operation = nullptr;
    const double spent = millisecondsToFile([&] {
        WebKitWebContext* context = webkit_web_context_new_ephemeral();
        GtkWidget* view = webkit_web_view_new_with_context(context);
        g_object_unref(context);
        window = gtk_offscreen_window_new();
        gtk_widget_set_size_request(view, int(gtk_page_setup_get_paper_width(setup, GTK_UNIT_POINTS)),
            int(gtk_page_setup_get_paper_height(setup, GTK_UNIT_POINTS)));
        gtk_container_add(GTK_CONTAINER(window), view);
        gtk_widget_show_all(window);
        operation = webkit_print_operation_new(WEBKIT_WEB_VIEW(view));
        webkit_print_operation_set_page_setup(operation, setup);
        webkit_print_operation_set_print_settings(operation, settings);
        g_signal_connect(view, "load-changed",
            G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer data) {
                if (event == WEBKIT_LOAD_FINISHED)
                    webkit_print_operation_print(WEBKIT_PRINT_OPERATION(data));
            }),
            operation);
        webkit_web_view_load_html(WEBKIT_WEB_VIEW(view), conversation().c_str(), nullptr);
    });
    gtk_widget_destroy(window);
    g_object_unref(operation);
    g_object_unref(settings);
    g_object_unref(setup);
    return spent;
}

} // namespace

std::vector<Row> printingRows()
{
    return {{.name = "view/print-100",
        .unit = "ms",
        .peerName = "WebKitPrintOperation",
        .goal = 1.1,
        .rounds = 7,
        .ours = printByKit,
        .peer = printByEngine}};
}

} // namespace LumoKit::Bench
