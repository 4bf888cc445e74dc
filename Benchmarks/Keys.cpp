#include "Compare.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/WebView/LMWebView.h>

#include <time.h>

#include <memory>

namespace LumoKit::Bench {

namespace {

/// A page that takes every key and says so.
constexpr const char* page = "<script>addEventListener('keydown', e => { e.preventDefault();"
                             "webkit.messageHandlers.key.postMessage(1); });"
                             "webkit.messageHandlers.key.postMessage(0);</script>";

/// What the kit promises to add at most to the way of a key. Units: microseconds.
constexpr double allowance = 20;

/// A window with a page in it; both sides get the same events, and count the same messages in the same way.
class KeyWindow {
public:
    KeyWindow(GtkWindow* window, WebKitWebView* view)
        : window(window)
    {
        WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(view);
        g_signal_connect(content, "script-message-received::key",
            G_CALLBACK(+[](WebKitUserContentManager*, WebKitJavascriptResult*, gpointer data) {
                ++static_cast<KeyWindow*>(data)->messages;
            }),
            this);
        webkit_user_content_manager_register_script_message_handler(content, "key");
        webkit_web_view_load_html(view, page, "https://bench.example/");
        runUntil(1);
        gtk_widget_grab_focus(GTK_WIDGET(view));
    }

    /// Microseconds of this thread until a press and its release are on their way to the page: the kit has nothing to
    /// do with what follows, which varies by more than what is measured here.
    double press(std::size_t count)
    {
        const std::size_t before = messages;
        double spent = 0;
        for (std::size_t index = 0; index < count; ++index) {
            spent += send(GDK_KEY_PRESS);
            runUntil(before + index + 1);
            spent += send(GDK_KEY_RELEASE);
        }
        return spent * 1e6 / static_cast<double>(count);
    }

private:
    static double secondsOfThisThread()
    {
        timespec used{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
    }
    [[nodiscard]] double send(GdkEventType type) const
    {
        constexpr guint16 placeOfA = 38;
        GdkEvent* event = gdk_event_new(type);
        event->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(GTK_WIDGET(window))));
        event->key.keyval = GDK_KEY_a;
        event->key.hardware_keycode = placeOfA;
        gdk_event_set_device(
            event, gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
        const double begin = secondsOfThisThread();
        gtk_main_do_event(event);
        const double spent = secondsOfThisThread() - begin;
        gdk_event_free(event);
        return spent;
    }
    void runUntil(std::size_t count) const
    {
        while (messages < count)
            g_main_context_iteration(nullptr, TRUE);
    }

    GtkWindow* window;
    std::size_t messages = 0;
};

KeyWindow& windowOfTheKit()
{
    static KeyWindow& shared = [] -> KeyWindow& {
        static const auto window = NSWindow::create({{}, {400, 300}});
        const auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setProcessPool(std::make_shared<WKProcessPool>());
        const auto view = std::make_shared<LMWebView>(CGRect{{}, {400, 300}}, configuration);
        view->keyCodesToSilence = {KeyCode::f, KeyCode::p, KeyCode::comma, KeyCode::esc};
        window->contentView()->addSubview(view);
        window->makeKeyAndOrderFront();
        return *new KeyWindow(gtkWindow(*window), webKitWebView(*view));
    }();
    return shared;
}

KeyWindow& bareWindow()
{
    static KeyWindow& shared = [] -> KeyWindow& {
        GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        gtk_window_set_default_size(GTK_WINDOW(window), 400, 300);
        GtkWidget* view = webkit_web_view_new();
        gtk_container_add(GTK_CONTAINER(window), view);
        gtk_widget_show_all(window);
        return *new KeyWindow(GTK_WINDOW(window), WEBKIT_WEB_VIEW(view));
    }();
    return shared;
}

} // namespace

std::vector<Row> keyRows()
{
    static_cast<void>(NSApplication::shared());
    constexpr std::size_t presses = 300;
    return {{"view/key-press", "µs", "bare view, and 20 µs", 1.0, 25,
        [] { return windowOfTheKit().press(presses); },
        [] { return bareWindow().press(presses) + allowance; }}};
}

} // namespace LumoKit::Bench
