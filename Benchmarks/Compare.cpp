#include "Compare.h"

#include <algorithm>
#include <chrono>

namespace LumoKit::Bench {

namespace {

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

} // namespace

Outcome measure(const Row& row)
{
    static_cast<void>(row.ours());
    static_cast<void>(row.peer());
    std::vector<double> ours;
    std::vector<double> peer;
    for (int round = 0; round < row.rounds; ++round) {
        if (round % 2 == 0) {
            ours.push_back(row.ours());
            peer.push_back(row.peer());
        } else {
            peer.push_back(row.peer());
            ours.push_back(row.ours());
        }
    }
    Outcome outcome{row.name, row.unit, median(ours), median(peer), row.peerName, 0, row.goal, false};
    outcome.ratio = outcome.ours / outcome.peer;
    outcome.holds = outcome.ratio <= outcome.goal;
    return outcome;
}

double secondsOf(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

} // namespace LumoKit::Bench
