#pragma once

#include <functional>
#include <string>
#include <vector>

namespace LumoKit::Bench {

/// A row of the table: what ours costs against what a peer's costs, both measured in this run.
struct Row {
    /// Subject and what is measured: "bridge/number".
    std::string name;
    /// Of both measurements: "µs", "MB".
    std::string unit;
    std::string peerName;
    /// The most that ours over the peer's may be.
    double goal = 1;
    /// How often each is measured; the two take turns, and the median of each counts.
    int rounds = 15;
    /// One measurement each, in `unit`.
    std::function<double()> ours;
    std::function<double()> peer;
};

/// A row's outcome.
struct Outcome {
    std::string name;
    std::string unit;
    double ours = 0;
    double peer = 0;
    std::string peerName;
    double ratio = 0;
    double goal = 0;
    bool holds = false;
};

/// Measures a row: a round of each that does not count, then all rounds, of which every second one starts
/// with the peer.
[[nodiscard]] Outcome measure(const Row& row);

/// Seconds that `work` takes.
[[nodiscard]] double secondsOf(const std::function<void()>& work);

/// The rows of each file.
[[nodiscard]] std::vector<Row> bridgeRows();
[[nodiscard]] std::vector<Row> cookieRows();
[[nodiscard]] std::vector<Row> fileRows();
[[nodiscard]] std::vector<Row> imageRows();
[[nodiscard]] std::vector<Row> keyRows();
[[nodiscard]] std::vector<Row> linkRows();
[[nodiscard]] std::vector<Row> mainQueueRows();
[[nodiscard]] std::vector<Row> printingRows();
[[nodiscard]] std::vector<Row> remoteRows();
[[nodiscard]] std::vector<Row> settingsRows();
[[nodiscard]] std::vector<Row> startRows();
[[nodiscard]] std::vector<Row> windowRows();

} // namespace LumoKit::Bench
