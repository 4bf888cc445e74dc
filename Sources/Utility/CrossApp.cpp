#include <LumoKit/Platform/ApplicationKit/NSWorkspace.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/PercentEncoding.h>
#include <LumoKit/Utility/Alerts.h>
#include <LumoKit/Utility/CrossApp.h>

#include <algorithm>

namespace LumoKit {

namespace {

/// A key or a value of a query: nothing in it may look like a part of the link.
std::string encoded(std::string_view text)
{
    static const std::string allowed = [] {
        std::string characters(urlQueryAllowed);
        std::erase_if(
            characters, [](char each) { return std::string_view(":#[]@!$&'()*+,;=").contains(each); });
        return characters;
    }();
    return addingPercentEncoding(text, allowed).value_or(std::string());
}

std::string query(const Value::Dictionary& arguments)
{
    std::string text;
    for (const auto& [key, value] : arguments) {
        text += text.empty() ? '?' : '&';
        text += encoded(key) + '=' + encoded(value.description());
    }
    return text;
}

} // namespace

std::string CrossApp::bundleID(App app)
{
    switch (app) {
    case App::gmail:
        return "co.lumoapp.gmail";
    case App::calendar:
        return "co.lumoapp.calendar";
    case App::inbox:
        return "co.lumoapp.inbox";
    case App::dashboard:
        return "co.lumoapp.dashboard";
    }
    fatalError("unsupported");
}

std::string CrossApp::urlScheme(App app)
{
    switch (app) {
    case App::gmail:
        return "lumoforgmail";
    case App::calendar:
        return "lumoforcalendar";
    case App::inbox:
        return "lumoforinbox";
    case App::dashboard:
        break;
    }
    fatalError("unsupported");
}

std::string CrossApp::name(App app)
{
    switch (app) {
    case App::gmail:
        return "Lumo for Gmail";
    case App::calendar:
        return "Lumo for Calendar";
    case App::inbox:
        return "Lumo for Inbox";
    case App::dashboard:
        return "Lumo Dashboard";
    }
    fatalError("unsupported");
}

bool CrossApp::open(App app)
{
    return NSWorkspace::shared().launchApp(bundleID(app));
}

bool CrossApp::launch(
    App app, std::string_view command, const Value::Dictionary& arguments, bool showAlertOnFailure)
{
    const auto url = URL::parse(urlScheme(app) + "://" + std::string(command) + query(arguments));
    if (!url)
        fatalError("the command '" + std::string(command) + "' makes no URL");
    const bool opened = NSWorkspace::shared().open(*url);
    if (!opened && showAlertOnFailure)
        showAlert(name(app) + " is not installed",
            "You need to install " + name(app) + " to launch it from other Lumo Suite apps.", "OK",
            AlertPresentationStyle::modal());
    return opened;
}

} // namespace LumoKit
