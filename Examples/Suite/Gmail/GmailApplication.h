#pragma once

#include "Support/SuiteApplication.h"

#include <LumoKit/Platform/ApplicationKit/NSButton.h>

#include <memory>

namespace LumoSuite {

/// Lumo for Gmail: threads, of which the open one is archived by a native control.
class GmailApplication : public SuiteApplication {
public:
    GmailApplication(std::optional<OtherPage> otherPage, Report report);

    [[nodiscard]] const std::shared_ptr<LumoKit::NSButton>& archiveButton() const { return button; }

private:
    [[nodiscard]] PageMessages pageMessages() const override;
    void addControls() override;
    void addMenus(LumoKit::NSMenu& bar) override;
    void pageIsGone() override;

    void archive() { execute("LumoMail.archive()"); }
    void showNext() { press("j"); }
    void showPrevious() { press("k"); }
    /// A key that the page has for what a menu offers.
    void press(const std::string& key);

    std::shared_ptr<LumoKit::NSButton> button;
};

} // namespace LumoSuite
