#include "Gmail/GmailTour.h"

#include <algorithm>
#include <iterator>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr const char* listenForKeys = R"(
    {
        let keys = 'keys';
        addEventListener('keydown', (event) => {
            keys += ' ' + event.key;
            webkit.messageHandlers.injected.postMessage(keys);
        }, true);
    }
    undefined
)";

} // namespace

std::vector<Tour::Step> gmailTour(const std::weak_ptr<GmailApplication>& mail, const TourSteps& steps)
{
    const auto click = [mail] {
        if (const auto alive = mail.lock())
            alive->archiveButton()->performClick();
    };
    // F3, which is silenced, and a key that is not: the page tells all that it got.
    const auto pressKeys = [mail, listen = steps.run(listenForKeys)] {
        const auto alive = mail.lock();
        if (!alive)
            return;
        listen();
        alive->window()->makeFirstResponder(alive->pageView());
        for (const auto& [character, code] : {std::pair(NSF3FunctionKey, 99), std::pair("j", 38)})
            if (const auto press =
                    NSEvent::keyEvent(NSEvent::EventType::keyDown, {}, {}, 0, alive->window()->windowNumber(),
                        character, character, false, static_cast<std::uint16_t>(code)))
                NSApplication::shared().sendEvent(*press);
    };
    auto walk = steps.throughAccounts("mail");
    const std::vector<Tour::Step> ofItsOwn{
        {"its threads are counted", {}, "page ready: 19 threads", {"Pluralize"}},
        {"the window's title tells what is unread", {}, "window title: "},
        {"a script opens a thread", steps.run("LumoMail.open()"), "thread opened: "},
        steps.awaitPainting(),
        steps.savePicture(),
        {"the native button archives it", click, "thread archived: "},
        {"the next one is opened in its place", {}, "thread opened: "},
        {"a command shows another account",
            TourSteps::openLink("lumoforgmail://account?email=noor%40example.com"),
            "account shown: noor@example.com", {"URLCommandParser"}},
        {"the first account comes back", steps.chooseAccount("Robin Ellery"),
            "account shown: robin@example.com"},
        {"a command presses the page's key", TourSteps::chooseCommand("Thread", "Next"),
            "thread opened: ", {"KeypressSimulator"}},
        {"the page gets no key that is silenced", pressKeys, "script injected: keys j", {"KeyCodes"}},
        steps.dragWindow(),
    };
    walk.insert(walk.end(), ofItsOwn.begin(), ofItsOwn.end());
    std::ranges::copy(steps.throughTheDark(), std::back_inserter(walk));
    walk.pop_back(); // it quits instead
    walk.push_back({"it asks before it quits, and need not ask again",
        TourSteps::chooseCommand("Gmail", "Quit", "Cancel", {.text = {}, .ticks = true}), "not quit",
        {"Alerts"}});
    walk.push_back({"it quits without asking", TourSteps::chooseCommand("Gmail", "Quit"), "quit",
        {"Alerts", "ResetApp"}});
    return walk;
}

} // namespace LumoSuite
