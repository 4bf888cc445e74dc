#include "Inbox/InboxApplication.h"

#include "Support/CalendarAddress.h"
#include "Support/Day.h"

#include <LumoKit/MailTo/MailToManager.h>
#include <LumoKit/Platform/Foundation/JSONSerialization.h>
#include <LumoKit/Utility/Pluralize.h>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Message = PageMessage<InboxApplication>;

constexpr double doneWidth = 136;

} // namespace

InboxApplication::InboxApplication(std::optional<OtherPage> otherPage, Report report)
    : SuiteApplication(App::inbox, "inbox", std::move(otherPage), std::move(report))
{
}

PageMessages InboxApplication::pageMessages() const
{
    return {
        std::make_shared<Message>("inboxReady",
            [](InboxApplication& inbox, const Value& body) {
                const auto conversations = body["conversations"].asInteger();
                if (!conversations)
                    return;
                inbox.report("page ready: " + std::to_string(*conversations) + " "
                    + pluralize("conversation", *conversations));
                inbox.pageIsShown(body["owner"]);
            }),
        std::make_shared<Message>("unreadCount",
            [](InboxApplication& inbox, const Value& body) {
                const auto count = body.asInteger();
                if (!count || *count < 0)
                    return;
                inbox.mainWindow->setTitle(*count == 0 ? "" : std::to_string(*count) + " unread");
                inbox.report("window title: " + inbox.window()->title());
            }),
        std::make_shared<Message>("conversationOpened",
            [](InboxApplication& inbox, const Value& body) {
                if (inbox.button)
                    inbox.button->setEnabled(true);
                inbox.report("conversation opened: " + textOf(body["subject"]));
            }),
        std::make_shared<Message>("conversationDone",
            [](InboxApplication& inbox, const Value& body) {
                if (const auto done = body["done"].asBoolean(); done && body["id"].asText())
                    inbox.report(std::string("conversation ") + (*done ? "done" : "not done") + ": "
                        + textOf(body["id"]));
            }),
        std::make_shared<Message>("composeOpened",
            [](InboxApplication& inbox, const Value& body) {
                inbox.report("mail begun: " + textOf(body["subject"]));
            }),
        std::make_shared<Message>("mailSent",
            [](InboxApplication& inbox, const Value& body) { inbox.report("mail sent: " + textOf(body)); }),
        std::make_shared<Message>("attached",
            [](InboxApplication& inbox, const Value& body) {
                inbox.report("file attached: " + textOf(body));
            }),
        std::make_shared<Message>(
            "dayChosen", [](InboxApplication& inbox, const Value& body) { inbox.openDay(textOf(body)); }),
    };
}

void InboxApplication::addControls()
{
    button = std::make_shared<NSButton>("Mark as Done", CGRect{});
    button->setEnabled(false);
    button->setAction([weak = weak_from_this()](NSButton&) {
        if (const auto inbox = std::dynamic_pointer_cast<InboxApplication>(weak.lock()))
            inbox->markDone();
    });
    mainWindow->addControl(button, doneWidth);
}

void InboxApplication::addMenus(NSMenu& bar)
{
    addMenu(bar, "Conversation",
        {menuItem("Mark as Done", &InboxApplication::markDone, "d"),
            menuItem("Print…", &InboxApplication::printConversation, "p")});
}

void InboxApplication::pageIsGone()
{
    if (button)
        button->setEnabled(false);
}

void InboxApplication::markDone()
{
    execute("LumoInbox.markDone()");
}

void InboxApplication::printConversation()
{
    view->evaluateJavaScript("LumoInbox.printable()",
        [weak = weak_from_this()](const std::optional<Value>& document, const std::optional<Error>&) {
            const auto inbox = std::dynamic_pointer_cast<InboxApplication>(weak.lock());
            const auto* html = document ? document->asText() : nullptr;
            if (!inbox || !html || html->empty())
                return;
            if (!inbox->printer)
                inbox->printer = std::make_shared<WebPrinter>(inbox->window());
            inbox->printer->printHtml(*html, URL::parse(inbox->origin + "/inbox/"));
        });
}

// ---- mail links

void InboxApplication::receiveLinks()
{
    // Each is taken as it comes: one that started the application is there long before the page.
    MailToManager::shared()->handleMailTo([weak = weak_from_this()](const MailToParseResult& mail) {
        const auto inbox = std::dynamic_pointer_cast<InboxApplication>(weak.lock());
        if (!inbox)
            return false;
        inbox->mails.push_back(mail);
        inbox->composeMails();
        return true;
    });
    SuiteApplication::receiveLinks();
}

void InboxApplication::openLink(const NSAppleEventDescriptor& event, NSAppleEventDescriptor& reply)
{
    const auto object = event.paramDescriptor(keyDirectObject);
    const auto link = object ? object->stringValue() : std::nullopt;
    if (link && link->starts_with(CrossApp::urlScheme(App::inbox) + ":"))
        SuiteApplication::openLink(event, reply);
    else
        MailToManager::shared()->handleEvent(event, reply);
}

void InboxApplication::composeMails()
{
    if (!ready)
        return;
    for (; !mails.empty(); mails.pop_front()) {
        const MailToParseResult& mail = mails.front();
        Value::Array recipients;
        for (const std::string& recipient : mail.recipients.value_or(std::vector<std::string>()))
            recipients.emplace_back(recipient);
        const auto draft = JSONSerialization::text(Value::Dictionary{{"to", std::move(recipients)},
            {"subject", mail.subject.value_or("")}, {"body", mail.body.value_or("")}});
        if (draft)
            execute("LumoInbox.compose(" + *draft + ")");
        window()->makeKeyAndOrderFront();
    }
}

// ---- the calendar

void InboxApplication::openDay(const std::string& day)
{
    if (!readDay(day))
        return;
    report("day chosen: " + day);
    // In the calendar of whoever reads this.
    report(openInCalendar({day, shownAccount()}) ? "calendar asked" : "no calendar");
}

} // namespace LumoSuite
