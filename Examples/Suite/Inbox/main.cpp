// Lumo for Inbox. What it can be started with: see Support/SuiteMain.h.

#include "Inbox/InboxTour.h"
#include "Support/SuiteMain.h"

using namespace LumoSuite;

int main(int count, char** arguments)
{
    const SuiteProgram program{
        .app = LumoKit::CrossApp::App::inbox,
        .make = [](auto page, auto report) { return std::make_shared<InboxApplication>(page, report); },
        .tour =
            [](const auto& application, const TourSteps& steps) {
                return inboxTour(std::dynamic_pointer_cast<InboxApplication>(application), steps);
            },
    };
    return suiteMain(program, count, arguments);
}
