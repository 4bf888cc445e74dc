#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <sys/types.h>

#include <expected>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit {

/// Another program, started by this one. It has this process's standard files and its working folder, and goes on
/// when this process ends.
///
/// The first place in which it looks for commands is that of the platform's own, `open`, which opens bundles:
/// `open Name.app` starts an application, or brings it to the front. Where the application itself asks for that,
/// it is started when it has ended.
///
/// Thread: any, one at a time.
/// Lifetime: releasing the object does not end the program.
class Process : public NSObject {
public:
    Process();
    ~Process() override;

    /// The program's path. Needed.
    void setLaunchPath(std::filesystem::path launchPath);
    void setArguments(std::vector<std::string> arguments);
    /// The whole environment, in place of this process's own. The platform's commands are put in front of "PATH".
    void setEnvironment(std::map<std::string, std::string> environment);

    /// Starts the program.
    /// Errors: why it was not started. A process is started once; later calls give an error.
    std::expected<void, Error> run();

    /// Starts the program.
    /// Errors: stops this process where `run` gives an error.
    void launch();

    [[nodiscard]] bool isRunning() const;
    /// 0 before it was started, and after it has ended.
    [[nodiscard]] pid_t processIdentifier() const;

    /// Blocks until the program has ended, without time limit; returns at once if it was not started.
    void waitUntilExit();
    /// What it ended with, or the number of the signal that ended it.
    /// Errors: nothing while it has not ended.
    [[nodiscard]] std::optional<int> terminationStatus() const;

private:
    struct Native;
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
