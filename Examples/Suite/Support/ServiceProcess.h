#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace LumoSuite {

/// The suite's web service, run as a child of the application and ended with it.
///
/// Thread: the main thread.
class ServiceProcess {
public:
    using Started = std::function<void(const std::expected<std::string, LumoKit::Error>& origin)>;

    /// Starts `executable` with arguments and calls `started` with the service's origin
    /// ("http://127.0.0.1:port"), or why there is none.
    /// Lifetime: the service ends when this object is destroyed, and when the application dies, however it
    /// dies.
    ServiceProcess(
        const std::filesystem::path& executable, std::vector<std::string> arguments, const Started& started);
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

private:
    int process = -1;
    int input = -1; // the service runs until this end of its standard input closes
};

} // namespace LumoSuite
