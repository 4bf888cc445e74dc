// Lumo for Calendar. What it can be started with: see Support/SuiteMain.h.

#include "Calendar/CalendarTour.h"
#include "Support/SuiteMain.h"

using namespace LumoSuite;

int main(int count, char** arguments)
{
    const SuiteProgram program{
        .app = LumoKit::CrossApp::App::calendar,
        .make = [](auto page, auto report) { return std::make_shared<CalendarApplication>(page, report); },
        .tour =
            [](const auto& application, const TourSteps& steps) {
                return calendarTour(std::dynamic_pointer_cast<CalendarApplication>(application), steps);
            },
    };
    return suiteMain(program, count, arguments);
}
