#include "Support/Tour.h"

#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/DispatchQueue.h>

#include <algorithm>
#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

/// " [Alerts, ResetApp]"; nothing for no names.
std::string listed(const std::vector<std::string>& names)
{
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? " [" : ", ") + name;
    return list.empty() ? list : list + "]";
}

/// How long a step may take.
/// Units: seconds.
constexpr double patience = 20;

} // namespace

Tour::Tour(std::vector<Step> steps, std::function<void(bool)> ended)
    : steps(std::move(steps))
    , ended(std::move(ended))
{
}

void Tour::start()
{
    running = true;
    advance();
}

void Tour::saw(const std::string& event)
{
    print("  " + event);
    events.push_back(event);
    if (!advancing) // else the step that set it off goes on to look for it
        advance();
}

void Tour::advance()
{
    advancing = true;
    while (running && takeStep()) { }
    advancing = false;
}

bool Tour::takeStep()
{
    if (current == steps.size()) {
        end(true);
        return false;
    }
    const Step& step = steps[current];
    if (!std::exchange(acted, true)) {
        delay(patience, DispatchQueue::main(), [weak = weak_from_this(), expected = current] {
            const auto tour = weak.lock();
            if (!tour || !tour->running || tour->current != expected)
                return;
            print("NOT SEEN: " + tour->steps[expected].name);
            tour->end(false);
        });
        if (step.act)
            step.act();
    }
    const auto seen = std::ranges::find_if(
        events, [&](const std::string& event) { return event.starts_with(step.expected); });
    if (seen == events.end())
        return false;
    events.erase(seen);
    print("seen: " + step.name + listed(step.shows));
    acted = false;
    ++current;
    return true;
}

void Tour::end(bool complete)
{
    running = false;
    ended(complete);
}

} // namespace LumoSuite
