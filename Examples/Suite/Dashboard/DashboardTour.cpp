#include "Dashboard/DashboardTour.h"

#include <algorithm>
#include <iterator>

namespace LumoSuite {

using namespace LumoKit;

std::vector<Tour::Step> dashboardTour(const std::weak_ptr<DashboardApplication>&, const TourSteps& steps)
{
    auto walk = steps.throughAccounts("dashboard");
    const std::vector<Tour::Step> ofItsOwn{
        {"the day is known", {}, "overview: "},
        steps.awaitPainting(),
        steps.savePicture(),
        {"a card shows another account", steps.run("document.querySelector('button.account').click()"),
            "account commanded: noor@example.com"},
        {"its day is known", {}, "account shown: noor@example.com"},
        {"the first account comes back", steps.chooseAccount("Robin Ellery"),
            "account shown: robin@example.com"},
    };
    walk.insert(walk.end(), ofItsOwn.begin(), ofItsOwn.end());
    std::ranges::copy(steps.throughTheDark(), std::back_inserter(walk));
    return walk;
}

} // namespace LumoSuite
