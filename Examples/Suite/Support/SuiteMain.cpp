#include "Support/SuiteMain.h"

#include "Support/SuiteSettings.h"

#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <cstdio>
#include <span>
#include <string_view>

namespace LumoSuite {

using namespace LumoKit;

namespace {

struct Options {
    std::optional<OtherPage> page;
    std::string name;
    std::optional<std::string> picture;
    std::optional<std::string> scheme;
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
        if (name == "--page") {
            const auto address = URL::parse(value);
            if (!address || !address->scheme())
                return std::nullopt;
            options.page = OtherPage{*address, ""};
        } else if (name == "--name")
            options.name = value;
        else if (name == "--tour")
            options.picture = value;
        else if (name == "--register")
            options.scheme = value;
        else
            return std::nullopt;
    }
    if (options.page)
        options.page->name = options.name;
    return options;
}

int registerFor(const SuiteProgram& program, const std::string& scheme)
{
    const auto made = LaunchServices::setDefaultHandler(scheme);
    print(made ? CrossApp::name(program.app) + " opens links of " + scheme : made.error().description);
    return made ? 0 : 1;
}

} // namespace

int suiteMain(const SuiteProgram& program, int count, char** arguments)
{
    const auto options = parse({arguments, static_cast<std::size_t>(count)});
    if (!options) {
        std::fprintf(stderr,
            "usage: %s [--page URL [--name NAME]] [--tour PICTURE] [LINK...]\n       %s --register SCHEME\n",
            arguments[0], arguments[0]);
        return 2;
    }
    if (options->scheme)
        return registerFor(program, *options->scheme);

    auto& application = NSApplication::shared();
    std::shared_ptr<Tour> tour;
    const auto report = [&tour](const std::string& event) { tour ? tour->saw(event) : print(event); };
    const auto host = program.make(options->page, report);
    application.setDelegate(host);
    bool complete = true;
    if (options->picture) {
        complete = false;
        if (!options->page) { // it signs in by itself, and is asked what it asks
            Settings::create(UserDefaults::standard())->set(SuiteSettings::account, std::string());
            UserDefaults::standard()->removeObject(SuiteSettings::quitsWithoutAsking);
        }
        const TourSteps steps(host, *options->picture, report);
        tour = std::make_shared<Tour>(
            options->page ? steps.throughAnyPage() : program.tour(host, steps), [&](bool everything) {
                complete = everything;
                if (!everything)
                    application.terminate();
            });
    }
    host->start();
    if (tour)
        tour->start();
    application.run();
    return complete ? 0 : 1;
}

} // namespace LumoSuite
