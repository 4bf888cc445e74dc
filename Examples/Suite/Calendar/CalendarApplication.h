#pragma once

#include "Support/SuiteApplication.h"

#include <LumoKit/Platform/ApplicationKit/NSButton.h>

#include <memory>
#include <optional>
#include <string>

namespace LumoSuite {

/// Lumo for Calendar: months, and the day that the user or another application chooses.
class CalendarApplication : public SuiteApplication {
public:
    CalendarApplication(std::optional<OtherPage> otherPage, Report report);

    [[nodiscard]] const std::shared_ptr<LumoKit::NSButton>& todayButton() const { return button; }

private:
    [[nodiscard]] PageMessages pageMessages() const override;
    void addControls() override;
    void addMenus(LumoKit::NSMenu& bar) override;
    void pageIsReady() override;
    void pageIsGone() override;
    bool openAddress(const LumoKit::URL& address) override;

    void showToday() { execute("LumoCalendar.today()"); }
    void askForDay();
    void showPreviousMonth() { execute("LumoCalendar.previousMonth()"); }
    void showNextMonth() { execute("LumoCalendar.nextMonth()"); }

    std::shared_ptr<LumoKit::NSButton> button;
    std::optional<std::string> day; // to be shown, when the page is ready
};

} // namespace LumoSuite
