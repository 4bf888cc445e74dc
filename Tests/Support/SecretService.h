#pragma once

#include "Support/TemporaryFolder.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace LumoKit::Test {

/// A session bus of a test's own, on which nothing is started by itself, and a secret service on it that keeps its
/// keyring in a folder of the test's own. Both end with this object.
class SecretService {
public:
    SecretService();
    SecretService(const SecretService&) = delete;
    SecretService& operator=(const SecretService&) = delete;
    ~SecretService();

    /// Starts the service, with its keyring unlocked or as it is after a start without a password.
    void start(bool unlocked = true);
    void stop();

    /// Lets it hang, and go on.
    void pause() const;
    void resume() const;

    /// Locks its keyring.
    void lock() const;

    /// Ends the bus.
    void stopBus();

    [[nodiscard]] const std::string& bus() const { return address; }

private:
    /// A program on this bus, in this folder; its process id.
    [[nodiscard]] pid_t run(const std::vector<std::string>& words, int input = -1, int output = -1) const;
    [[nodiscard]] bool call(const std::vector<std::string>& arguments) const;

    TemporaryFolder folder;
    std::string address;
    pid_t daemon = -1;
    pid_t service = -1;
};

} // namespace LumoKit::Test
