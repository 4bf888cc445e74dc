// link-sender URI: asks the desktop to open it, as applications do. Says why not, and exits 1, when it cannot.

#include <gio/gio.h>

int main(int count, char** arguments)
{
    GError* error = nullptr;
    if (count == 2 && g_app_info_launch_default_for_uri(arguments[1], nullptr, &error))
        return 0;
    g_print("%s %d\n", error ? g_quark_to_string(error->domain) : "usage", error ? error->code : 0);
    return 1;
}
