#pragma once

#include "Support/TemporaryFolder.h"
#include "Support/TestPortal.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit::Test {

/// A desktop of a test's own: a session bus, and folders in which applications are listed and write down their
/// settings. The program `LinkHost` lives in it and reports what happens to it; whatever started it, it ends with
/// the test.
class LinkSession : public testing::Test {
protected:
    LinkSession();
    ~LinkSession() override;

    struct Outcome {
        int status = -1; // -1: it did not end within the time that it had
        std::string output;
    };

    static std::filesystem::path bundle();
    /// The executable in a bundle.
    static std::filesystem::path executable(const std::filesystem::path& bundle);
    static std::filesystem::path host() { return executable(bundle()); }
    static std::filesystem::path sender();

    static void setMode(const std::string& mode) { ::setenv("LINK_HOST_MODE", mode.c_str(), 1); }

    /// Starts a program and waits until it has ended. `gio` is found where programs are.
    static Outcome run(const std::filesystem::path& program, const std::vector<std::string>& arguments);
    /// Starts a program that goes on; it ends with the test.
    pid_t start(const std::filesystem::path& program, const std::vector<std::string>& arguments = {});
    /// Whether a program of `start` ended, with which status, within the time that it has.
    std::optional<int> ended(pid_t process);

    /// Starts the host, and waits until it runs.
    [[nodiscard]] bool startHost(const std::vector<std::string>& arguments = {});
    /// Makes the host the desktop's default handler of a scheme.
    [[nodiscard]] static bool registerHost(const std::string& scheme);

    /// The next `count` lines that hosts report and that begin with a text, without it; fewer if no more come within
    /// the time that they have. Lines that begin otherwise are kept for later calls.
    std::vector<std::string> reported(const std::string& beginning, std::size_t count = 1);
    /// What was reported and not asked for yet, as far as it has arrived.
    std::vector<std::string> rest();

    void openGate() const;

    TemporaryFolder folder;
    std::optional<TestBus> bus;

private:
    [[nodiscard]] bool receive(int milliseconds);

    int reports = -1;
    int gate = -1;
    std::string received;
    std::vector<std::string> lines;
    std::vector<int> hosts; // file descriptors of processes that reported that they started
    std::vector<pid_t> children;
};

} // namespace LumoKit::Test
