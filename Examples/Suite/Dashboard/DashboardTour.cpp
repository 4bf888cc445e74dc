#include "Dashboard/DashboardTour.h"

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/SafariUserAgent.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <algorithm>
#include <iterator>

namespace LumoSuite {

using namespace LumoKit;

namespace {

/// The answers that are shipped, the form, a request, and the form as it knows who has asked before.
std::vector<Tour::Step> throughHelp(
    const std::weak_ptr<DashboardApplication>& dashboard, const TourSteps& steps)
{
    const auto inHelp = [dashboard](std::function<void(HelpWindowController&)> act) {
        return [dashboard, act = std::move(act)] {
            const auto alive = dashboard.lock();
            if (alive && alive->helpWindow())
                act(*alive->helpWindow());
        };
    };
    const std::string browser = UserAgentFetcher::shared()->userAgent();
    const auto open = TourSteps::chooseCommand("Help", "Lumo Help");
    const auto write = inHelp(
        [](HelpWindowController& window) { window.help()->rootView()->writeButton()->performClick(); });
    const auto tick =
        inHelp([](HelpWindowController& window) { window.help()->rootView()->tellsFacts->performClick(); });
    const auto send = inHelp([](HelpWindowController& window) {
        answerAlert("Done", {}, [](bool) { });
        window.help()->execute("LumoHelp.write('desk@example.com', 'Where do the days go?')");
    });
    const auto close = inHelp([](HelpWindowController& window) { window.window()->performClose(); });
    return {
        {"help is opened", open, "help page: /answers.html",
            {"BackgroundView", "BundleResources", "NSStoryboard", "ProxyWebView", "URLConvertible",
                "Updateable", "ViewController"}},
        {"it says what it is for, and whom to write to", {},
            "help shown: Lumo Dashboard  0.1 (1). Not answered? Write to us below, or to "
            "help@lumosuite.example",
            {"NSAttributedString", "NSColor", "NSView", "StringObfuscation"}},
        steps.savePictureOf([dashboard] { return dashboard.lock()->helpWindow()->window(); }, "-help"),
        {"the form is filled in", write,
            "help form: robin@example.com, Lumo Dashboard · 0.1 (1) · " + browser.substr(0, 53) + "... · ",
            {"CGRect", "Dictionary", "HelpRequestInfo", "ImageButton", "NSButton", "String+Utils"}},
        {"less of it", tick,
            "help form: robin@example.com, Lumo Dashboard, "
                + std::string(SafariUserAgent::macOS_10_14__5_12_0_2),
            {"HelpRequestInfo", "NSButton", "SafariUserAgent"}},
        {"a request is sent", send, "help asked: 1", {"Alerts", "Result"}},
        {"the window closes", close, "help closed", {"NSWindowController"}},
        {"its cookies are kept", {}, "help cookies kept"},
        {"it is opened again", open, "help shown: "},
        {"the form knows who has asked", write, "help form: desk@example.com", {"CookieJar"}},
        {"and closes", close, "help closed"},
    };
}

} // namespace

std::vector<Tour::Step> dashboardTour(
    const std::weak_ptr<DashboardApplication>& dashboard, const TourSteps& steps)
{
    auto walk = steps.throughAccounts("dashboard");
    const std::vector<Tour::Step> ofItsOwn{
        {"the day is known", {}, "overview: "},
        steps.awaitPainting(),
        steps.savePicture(),
        {"a card shows another account", steps.run("document.querySelector('button.account').click()"),
            "account commanded: noor@example.com"},
        {"its day is known", {}, "account shown: noor@example.com"},
        {"the first account comes back", steps.chooseAccount("Robin Ellery"),
            "account shown: robin@example.com"},
    };
    walk.insert(walk.end(), ofItsOwn.begin(), ofItsOwn.end());
    std::ranges::copy(throughHelp(dashboard, steps), std::back_inserter(walk));
    std::ranges::copy(steps.throughTheDark(), std::back_inserter(walk));
    walk.pop_back(); // it ends with what it starts again
    walk.push_back(steps.leaveRunning(CrossApp::App::dashboard));
    walk.push_back({"what pages have stored is forgotten",
        TourSteps::chooseCommand("Dashboard", "Forget Website Data…", "Forget"), "started again",
        {"Alerts", "ResetApp"}});
    return walk;
}

} // namespace LumoSuite
