// Lumo for Inbox.
//
//   Inbox [--page URL] [--tour PICTURE] [LINK...]
//   Inbox --open-mail-links
//
// --page hosts another address; --tour walks through the application by itself, saves a picture, and exits 0
// only if everything was seen. --open-mail-links makes this the application that the desktop opens `mailto:` links
// with. Links are received as they are from the desktop, wherever the application was started.

#include "InboxApplication.h"
#include "InboxSettings.h"
#include "InboxTour.h"

#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <cstdio>
#include <span>
#include <string_view>

using namespace LumoKit;
using namespace LumoSuite;

namespace {

struct Options {
    std::optional<URL> page;
    std::optional<std::string> picture;
};

std::optional<Options> parse(std::span<char*> arguments)
{
    Options options;
    for (std::size_t index = 1; index < arguments.size(); ++index) {
        const std::string_view name = arguments[index];
        if (!name.starts_with("--"))
            continue; // the kit's
        if (++index == arguments.size())
            return std::nullopt;
        const std::string_view value = arguments[index];
        if (name == "--page" && (options.page = URL::parse(value)) && options.page->scheme())
            continue;
        if (name == "--tour") {
            options.picture = value;
            continue;
        }
        return std::nullopt;
    }
    return options;
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 2 && std::string_view(arguments[1]) == "--open-mail-links") {
        const auto made = LaunchServices::setDefaultHandler("mailto");
        print(made ? "Lumo for Inbox opens mail links" : made.error().description);
        return made ? 0 : 1;
    }
    const auto options = parse({arguments, static_cast<std::size_t>(count)});
    if (!options) {
        std::fputs(
            "usage: Inbox [--page URL] [--tour PICTURE] [LINK...]\n       Inbox --open-mail-links\n", stderr);
        return 2;
    }
    auto& application = NSApplication::shared();
    std::shared_ptr<Tour> tour;
    const auto report = [&tour](const std::string& event) { tour ? tour->saw(event) : print(event); };
    const auto inbox = std::make_shared<InboxApplication>(options->page, report);
    application.setDelegate(inbox);
    bool complete = true;
    if (options->picture) {
        complete = false;
        if (!options->page) // it signs in by itself
            Settings::create(UserDefaults::standard())->set(InboxSettings::account, std::string());
        tour = std::make_shared<Tour>(
            (options->page ? pageTour : inboxTour)(inbox, *options->picture, report), [&](bool everything) {
                complete = everything;
                if (!everything)
                    application.terminate();
            });
    }
    inbox->start();
    if (tour)
        tour->start();
    application.run();
    return complete ? 0 : 1;
}
