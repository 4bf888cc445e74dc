// lumokit-bench [--json FILE] [REGEX]: measures the rows whose names match, prints a table, and writes the
// rows to FILE.

#include "Compare.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <regex>
#include <string_view>

using namespace LumoKit::Bench;

int main(int count, char** arguments)
{
    std::string file;
    std::string pattern;
    for (int index = 1; index < count; ++index) {
        if (std::string_view(arguments[index]) == "--json" && index + 1 < count)
            file = arguments[++index];
        else
            pattern = arguments[index];
    }
    const std::regex wanted(pattern);
    nlohmann::json results = nlohmann::json::array();
    std::printf("%-28s %12s %12s %-5s %7s %7s  %-5s %s\n", "row", "ours", "peer", "unit", "ratio", "goal", "",
        "peer");
    for (const auto& rows : {bridgeRows(), mainQueueRows(), settingsRows(), cookieRows(), fileRows(),
             imageRows(), keyRows(), linkRows(), printingRows(), remoteRows(), startRows(), windowRows()}) {
        for (const Row& row : rows) {
            if (!std::regex_search(row.name, wanted))
                continue;
            const Outcome result = measure(row);
            std::printf("%-28s %12.3f %12.3f %-5s %7.3f %7.3f  %-5s %s\n", result.name.c_str(), result.ours,
                result.peer, result.unit.c_str(), result.ratio, result.goal, result.holds ? "holds" : "FAILS",
                result.peerName.c_str());
            std::fflush(stdout);
            results.push_back({{"name", result.name}, {"unit", result.unit}, {"ours", result.ours},
                {"peer", result.peer}, {"peerName", result.peerName}, {"ratio", result.ratio},
                {"goal", result.goal}, {"holds", result.holds}});
        }
    }
    if (!file.empty())
        std::ofstream(file) << results.dump(4) << '\n';
    return results.empty() ? 1 : 0;
}
