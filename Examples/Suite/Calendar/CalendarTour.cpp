#include "Calendar/CalendarTour.h"

#include "Support/CalendarAddress.h"

#include <LumoKit/Utility/URLCommandParser.h>

#include <algorithm>
#include <iterator>

namespace LumoSuite {

using namespace LumoKit;

namespace {

/// The link by which another application asks for a day.
std::string linkOfDay(const std::string& day)
{
    return OpenURLCommand::buildURL(CrossApp::urlScheme(CrossApp::App::calendar),
        calendarAddress({.day = day, .account = {}})->absoluteString());
}

std::string linkOfAccount(const std::string& address)
{
    return CrossApp::urlScheme(CrossApp::App::calendar) + "://account?email=" + address;
}

} // namespace

std::vector<Tour::Step> calendarTour(
    const std::weak_ptr<CalendarApplication>& calendar, const TourSteps& steps)
{
    const auto click = [calendar] {
        if (const auto alive = calendar.lock())
            alive->todayButton()->performClick();
    };
    auto walk = steps.throughAccounts("calendar");
    const std::vector<Tour::Step> ofItsOwn{
        {"the day is known", {}, "day shown: "},
        steps.awaitPainting(),
        steps.savePicture(),
        {"a command shows another account", TourSteps::openLink(linkOfAccount("noor@example.com")),
            "account shown: noor@example.com"},
        {"an account that there is not is none", TourSteps::openLink(linkOfAccount("nobody@example.com")),
            "no such account: nobody@example.com"},
        {"a command opens a day", TourSteps::openLink(linkOfDay("2024-02-29")), "day shown: 2024-02-29",
            {"URLCommandParser"}},
        {"and one that is none of the calendar's opens nothing",
            TourSteps::openLink("lumoforcalendar://open_url?url=https://example.com/"), "address refused"},
        {"a day is asked for",
            TourSteps::chooseCommand("View", "Go to Day…", "OK", {.text = "on 2000-01-01", .ticks = false}),
            "day shown: 2000-01-01", {"Alerts", "String+Regex"}},
        {"the native button shows today", click, "day shown: "},
        {"the first account comes back", steps.chooseAccount("Robin Ellery"),
            "account shown: robin@example.com"},
        {"a key chooses the next day",
            steps.run("document.querySelector('[tabindex=\"0\"]').dispatchEvent(new KeyboardEvent("
                      "'keydown', {key: 'ArrowRight', bubbles: true}))"),
            "day shown: "},
    };
    // A script that is being written is taken over at every change.
    const auto useLocalScript = TourSteps::chooseCommand("Developer", "Use a Local Script…");
    const std::vector<Tour::Step> withALocalScript{
        {"a local script is chosen", steps.chooseFile(useLocalScript, "calendar-local.js", ""),
            "file chosen"},
        {"it runs as soon as it is written",
            steps.changeFile(
                "calendar-local.js", "webkit.messageHandlers.injected.postMessage('local'); undefined"),
            "script injected: local", {"FileWatcherManager", "WatchLocalInject"}},
    };
    walk.insert(walk.end(), ofItsOwn.begin(), ofItsOwn.end());
    walk.insert(walk.end(), withALocalScript.begin(), withALocalScript.end());
    std::ranges::copy(steps.throughTheDark(), std::back_inserter(walk));
    return walk;
}

} // namespace LumoSuite
