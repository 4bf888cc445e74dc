#pragma once

#include "Support/SuiteApplication.h"

#include <LumoKit/MailTo/MailToParser.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/WebPrinter.h>

#include <deque>
#include <memory>

namespace LumoSuite {

/// Lumo for Inbox: conversations, of which one is marked done or printed by native controls; mail links begin mails, and
/// the days that messages speak of are opened in the calendar.
class InboxApplication : public SuiteApplication {
public:
    InboxApplication(std::optional<OtherPage> otherPage, Report report);

    [[nodiscard]] const std::shared_ptr<LumoKit::NSButton>& doneButton() const { return button; }

private:
    [[nodiscard]] PageMessages pageMessages() const override;
    void addControls() override;
    void addMenus(LumoKit::NSMenu& bar) override;
    void pageIsReady() override { composeMails(); }
    void pageIsGone() override;
    void receiveLinks() override;
    void openLink(
        const LumoKit::NSAppleEventDescriptor& event, LumoKit::NSAppleEventDescriptor& reply) override;

    void markDone();
    void printConversation();
    /// Shows what waits to be written, once the page can.
    void composeMails();
    void openDay(const std::string& day);

    std::shared_ptr<LumoKit::NSButton> button;
    std::shared_ptr<LumoKit::WebPrinter> printer;
    std::deque<LumoKit::MailToParseResult> mails; // to be written, when the page is ready
};

} // namespace LumoSuite
