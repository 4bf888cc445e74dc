// @{name|cpp}
//
//   @{program} [--page URL] [LINK...]
//
// --page hosts another address, as a test server's. Links come from the desktop, wherever the application was started.

#include "Application.h"
#include "Host.h"

#include <cstdio>
#include <string_view>

int main(int count, char** arguments)
{
    auto home = Host::home();
    for (int index = 1; index < count; ++index)
        if (std::string_view(arguments[index]) == "--page") {
            const auto page = ++index < count ? LumoKit::URL::parse(arguments[index]) : std::nullopt;
            if (!page || !page->host()) {
                std::fputs("usage: @{program} [--page URL] [LINK...]\n", stderr);
                return 2;
            }
            home = *page;
        }
    auto& application = LumoKit::NSApplication::shared(); // ends a second start of the program
    const auto host = std::make_shared<Host::Application>(home);
    application.setDelegate(host);
    host->start();
    application.run();
    return 0;
}
