// Lumo Dashboard. What it can be started with: see Support/SuiteMain.h.

#include "Dashboard/DashboardTour.h"
#include "Support/SuiteMain.h"

using namespace LumoSuite;

int main(int count, char** arguments)
{
    const SuiteProgram program{
        .app = LumoKit::CrossApp::App::dashboard,
        .make = [](auto page, auto report) { return std::make_shared<DashboardApplication>(page, report); },
        .tour =
            [](const auto& application, const TourSteps& steps) {
                return dashboardTour(std::dynamic_pointer_cast<DashboardApplication>(application), steps);
            },
    };
    return suiteMain(program, count, arguments);
}
