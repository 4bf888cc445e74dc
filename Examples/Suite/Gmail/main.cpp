// Lumo for Gmail. What it can be started with: see Support/SuiteMain.h.

#include "Gmail/GmailTour.h"
#include "Support/SuiteMain.h"

using namespace LumoSuite;

int main(int count, char** arguments)
{
    const SuiteProgram program{
        .app = LumoKit::CrossApp::App::gmail,
        .make = [](auto page, auto report) { return std::make_shared<GmailApplication>(page, report); },
        .tour =
            [](const auto& application, const TourSteps& steps) {
                return gmailTour(std::dynamic_pointer_cast<GmailApplication>(application), steps);
            },
    };
    return suiteMain(program, count, arguments);
}
