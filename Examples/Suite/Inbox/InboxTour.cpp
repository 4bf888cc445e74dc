#include "Inbox/InboxTour.h"

#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr const char* mailLink =
    "mailto:maya.lindqvist@tarnfield.example,ines@example.net?subject=The%20harbour%20map%20is%20printed"
    "&body=Dear%20both%2C%0A%0AThe%20proof%20came%20back%20this%20morning%2C%20and%20the%20crane%20stands%"
    "20where%20it"
    "%20should.%20A%20copy%20lies%20on%20your%20desks.%0A%0AShall%20we%20walk%20the%20north%20quay%20with%"
    "20it%20on"
    "%20Friday%2C%20after%20lunch%3F%0A%0ARobin";

} // namespace

std::vector<Tour::Step> inboxTour(const std::weak_ptr<InboxApplication>& inbox, const TourSteps& steps)
{
    const auto click = [inbox] {
        if (const auto alive = inbox.lock())
            alive->doneButton()->performClick();
    };
    auto walk = steps.throughAccounts("inbox");
    const std::vector<Tour::Step> ofItsOwn{
        {"the window's title tells what is unread", {}, "window title: "},
        {"a script opens a conversation", steps.run("LumoInbox.open()"), "conversation opened"},
        steps.awaitPainting(),
        steps.savePicture(),
        {"a mail link, opened elsewhere, begins a mail", TourSteps::openLink(mailLink),
            "mail begun: The harbour map is printed", {"MailToManager", "MailToParser"}},
        {"a file is chosen for it",
            steps.chooseFile(steps.run("document.getElementById('attach-button').click()"),
                "Harbour map, proof 2.pdf", std::string(184320, '%')),
            "file chosen"},
        {"it is attached", {}, "file attached: Harbour map, proof 2.pdf", {"Attachments"}},
        steps.awaitPainting(),
        steps.savePicture("-mail"),
        {"it is sent", steps.run("document.getElementById('compose').requestSubmit()"), "mail sent: "},
        {"the conversation is printed", steps.print("Conversation", "Print…", "inbox-printed.pdf"),
            "printed: inbox-printed.pdf", {"WebPrinter"}},
        {"the native button marks it done", click, "conversation done"},
        {"the user chooses the dark theme", steps.choose(ThemeMode::forceDark), "theme chosen: forceDark"},
        steps.awaitDark(),
        {"a script opens the next conversation", steps.run("LumoInbox.open()"), "conversation opened"},
        steps.awaitPainting(),
        steps.savePicture("-dark"),
        {"another mail link begins another", TourSteps::openLink(mailLink), "mail begun: "},
        steps.awaitPainting(),
        steps.savePicture("-mail-dark"),
        steps.resize(),
        steps.failInPage(),
    };
    walk.insert(walk.end(), ofItsOwn.begin(), ofItsOwn.end());
    if (LaunchServices::defaultHandler(CrossApp::urlScheme(CrossApp::App::calendar))) {
        walk.push_back(
            {"the mail is put away", steps.run("document.getElementById('leave-button').click()"), ""});
        walk.push_back({"a day in a message is opened in the calendar",
            steps.run("LumoInbox.open('c1'); document.querySelector('.message a.day').click()"),
            "calendar asked", {"CrossApp"}});
        walk.push_back(
            {"the calendar comes to the front", TourSteps::chooseCommand("Suite", "Show Lumo for Calendar"),
                "sibling shown: Lumo for Calendar", {"CrossApp", "NSView+Payload"}});
        walk.push_back(steps.leaveRunning(CrossApp::App::calendar));
    }
    walk.push_back({"help is opened", TourSteps::chooseCommand("Help", "Lumo Help"), "help shown: "});
    walk.push_back(
        {"it closes with the main window", steps.closeWindow().act, "help closed", {"WindowControllers"}});
    walk.push_back({"the window closes", {}, "window closed"});
    return walk;
}

} // namespace LumoSuite
