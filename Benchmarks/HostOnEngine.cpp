// The host of HostOnKit.cpp, written on the bare engine.

#include <gtk/gtk.h>
#include <unistd.h>
#include <webkit2/webkit2.h>

#include <thread>

int main(int count, char** arguments)
{
    gtk_init(&count, &arguments);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_default_size(GTK_WINDOW(window), 800, 600);
    WebKitUserContentManager* content = webkit_user_content_manager_new();
    g_signal_connect(content, "script-message-received::ready",
        G_CALLBACK(+[](WebKitUserContentManager*, WebKitJavascriptResult*, gpointer) {
            if (::write(STDOUT_FILENO, "!", 1) != 1)
                ::_exit(1);
        }),
        nullptr);
    webkit_user_content_manager_register_script_message_handler(content, "ready");
    GtkWidget* view = webkit_web_view_new_with_user_content_manager(content);
    gtk_container_add(GTK_CONTAINER(window), view);
    webkit_web_view_load_html(WEBKIT_WEB_VIEW(view),
        "<p>page</p><script>webkit.messageHandlers.ready.postMessage(1)</script>", "https://bench.example/");
    gtk_widget_show_all(window);
    std::thread input([loop] {
        char byte = 0;
        while (::read(STDIN_FILENO, &byte, 1) > 0) { }
        g_idle_add(
            +[](gpointer data) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop*>(data));
                return G_SOURCE_REMOVE;
            },
            loop);
    });
    g_main_loop_run(loop);
    input.join();
}
