#include "Gmail/GmailTour.h"

#include <algorithm>
#include <iterator>

namespace LumoSuite {

using namespace LumoKit;

std::vector<Tour::Step> gmailTour(const std::weak_ptr<GmailApplication>& mail, const TourSteps& steps)
{
    const auto click = [mail] {
        if (const auto alive = mail.lock())
            alive->archiveButton()->performClick();
    };
    auto walk = steps.throughAccounts("mail");
    const std::vector<Tour::Step> ofItsOwn{
        {"the window's title tells what is unread", {}, "window title: "},
        {"a script opens a thread", steps.run("LumoMail.open()"), "thread opened: "},
        steps.awaitPainting(),
        steps.savePicture(),
        {"the native button archives it", click, "thread archived: "},
        {"the next one is opened in its place", {}, "thread opened: "},
        {"a command shows another account",
            TourSteps::openLink("lumoforgmail://account?email=noor%40example.com"),
            "account shown: noor@example.com"},
        {"the first account comes back", steps.chooseAccount("Robin Ellery"),
            "account shown: robin@example.com"},
        {"a key opens a thread",
            steps.run("document.dispatchEvent(new KeyboardEvent('keydown', {key: 'j'}))"), "thread opened: "},
    };
    walk.insert(walk.end(), ofItsOwn.begin(), ofItsOwn.end());
    std::ranges::copy(steps.throughTheDark(), std::back_inserter(walk));
    return walk;
}

} // namespace LumoSuite
