#pragma once

#include "Support/SuiteApplication.h"

#include <cstdint>
#include <map>
#include <string>

namespace LumoSuite {

/// Lumo Dashboard: the suite's accounts, the day, and what is unread; what is chosen is opened in the other applications.
class DashboardApplication : public SuiteApplication {
public:
    DashboardApplication(std::optional<OtherPage> otherPage, Report report);

private:
    [[nodiscard]] PageMessages pageMessages() const override;
    void addMenus(LumoKit::NSMenu& bar) override;
    void pageIsReady() override;

    void refresh() { execute("LumoDashboard.refresh()"); }
    void openDay(const std::string& day);

    std::map<std::string, std::int64_t> unread; // by address: what each account had when it was last seen
};

} // namespace LumoSuite
