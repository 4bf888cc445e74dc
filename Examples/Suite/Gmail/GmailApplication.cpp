#include "Gmail/GmailApplication.h"

#include <LumoKit/Utility/KeypressSimulator.h>
#include <LumoKit/Utility/Pluralize.h>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Message = PageMessage<GmailApplication>;

constexpr double archiveWidth = 110;

} // namespace

GmailApplication::GmailApplication(std::optional<OtherPage> otherPage, Report report)
    : SuiteApplication(App::gmail, "mail", std::move(otherPage), std::move(report))
{
}

PageMessages GmailApplication::pageMessages() const
{
    return {
        std::make_shared<Message>("mailReady",
            [](GmailApplication& mail, const Value& body) {
                const auto threads = body["threads"].asInteger();
                if (!threads)
                    return;
                mail.report("page ready: " + std::to_string(*threads) + " " + pluralize("thread", *threads));
                mail.pageIsShown(body["owner"]);
            }),
        std::make_shared<Message>("unreadCount",
            [](GmailApplication& mail, const Value& body) {
                const auto count = body.asInteger();
                if (!count || *count < 0)
                    return;
                mail.mainWindow->setTitle(*count == 0 ? "" : std::to_string(*count) + " unread");
                mail.report("window title: " + mail.window()->title());
            }),
        std::make_shared<Message>("threadOpened",
            [](GmailApplication& mail, const Value& body) {
                if (mail.button)
                    mail.button->setEnabled(true);
                mail.report("thread opened: " + textOf(body["subject"]));
            }),
        std::make_shared<Message>("threadArchived",
            [](GmailApplication& mail, const Value& body) {
                mail.report("thread archived: " + textOf(body["id"]));
            }),
    };
}

void GmailApplication::addControls()
{
    button = std::make_shared<NSButton>("Archive", CGRect{});
    button->setEnabled(false);
    button->setAction([weak = weak_from_this()](NSButton&) {
        if (const auto mail = std::dynamic_pointer_cast<GmailApplication>(weak.lock()))
            mail->archive();
    });
    mainWindow->addControl(button, archiveWidth);
}

void GmailApplication::addMenus(NSMenu& bar)
{
    addMenu(bar, "Thread",
        {menuItem("Archive", &GmailApplication::archive, "d"),
            menuItem("Next", &GmailApplication::showNext, "]"),
            menuItem("Previous", &GmailApplication::showPrevious, "[")});
}

void GmailApplication::press(const std::string& key)
{
    window()->makeFirstResponder(view);
    KeyPressSimulator::simulate({.character = key});
}

void GmailApplication::pageIsGone()
{
    if (button)
        button->setEnabled(false);
}

} // namespace LumoSuite
