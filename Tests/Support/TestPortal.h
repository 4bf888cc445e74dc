#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace LumoKit::Test {

/// A session bus of a test's own, in place of the session's from here on: what is asked of a portal on it asks
/// nobody else. It starts the services whose files are in `services`, and no others.
class TestBus {
public:
    explicit TestBus(const std::filesystem::path& services = {});
    ~TestBus();
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;

private:
    struct Native;
    std::unique_ptr<Native> native;
};

/// The desktop's settings portal, on the session bus, answering from a thread of its own.
/// Thread: every operation may be called on any thread.
class TestPortal {
public:
    /// There when this returns, with a first answer; `replyType` is the type of what `Read` gives.
    explicit TestPortal(int scheme, const std::string& replyType = "v");
    /// Gone when this returns.
    ~TestPortal();
    TestPortal(const TestPortal&) = delete;
    TestPortal& operator=(const TestPortal&) = delete;

    /// What `Read` gives from now on, as the text of a value (`<uint32 1>`).
    void answer(const std::string& value);
    /// The usual form of a colour scheme: 1 dark, 2 light, 0 no preference.
    void says(int scheme) { answer("<<uint32 " + std::to_string(scheme) + ">>"); }
    /// `Read` gives an error from now on.
    void refuse();
    /// `Read` gives nothing until `speak`, which gives it to all that wait.
    void keepSilent();
    void speak();

    /// Sends the signal that a setting has changed; it is on its way when this returns.
    void announce(const std::string& value, const std::string& group = "org.freedesktop.appearance",
        const std::string& key = "color-scheme");

    /// Changes the answer and announces that.
    void changeTo(int scheme)
    {
        says(scheme);
        announce("<uint32 " + std::to_string(scheme) + ">");
    }

    /// How often `Read` was called.
    [[nodiscard]] int reads() const;

private:
    struct Native;
    std::unique_ptr<Native> native;
};

} // namespace LumoKit::Test
