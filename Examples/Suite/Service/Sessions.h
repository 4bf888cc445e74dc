#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace LumoSuite {

/// Who is signed in, as web mail of the strict kind keeps it: by two cookies that script cannot read. One stays; the other
/// turns, which is to say that it is replaced every now and then by requests that the page makes in the background.
///
/// A request that has one of the two without the other, or one that was replaced more than once, is taken for that
/// of a thief: the session ends, for the thief and for its owner.
class Sessions {
public:
    static constexpr std::string_view stayingCookie = "lumo_session";
    static constexpr std::string_view turningCookie = "lumo_turn";

    struct Cookies {
        std::string staying;
        std::string turning;
    };

    /// With a file, sessions last as long as that; without one, as long as this object. A file that cannot be read
    /// has none.
    explicit Sessions(std::optional<std::filesystem::path> file = std::nullopt);

    /// Begins a session of an account.
    Cookies begin(std::size_t account);

    /// The account that a request is of, by its Cookie header; nothing if it has no session.
    /// What is wrong with it ends the sessions that it names.
    std::optional<std::size_t> account(std::string_view cookieHeader);

    /// Replaces the cookie that turns; nothing if the request has no session.
    std::optional<std::string> turn(std::string_view cookieHeader);

    /// Ends the session of a request.
    void end(std::string_view cookieHeader);

    /// How many sessions were ended for a request that was wrong.
    [[nodiscard]] std::size_t destroyed() const { return destroyedSessions; }

private:
    struct Session {
        std::size_t account = 0;
        std::string turning;
        std::string before; // what was replaced by that; empty at first
    };
    using Entry = std::map<std::string, Session, std::less<>>::iterator;

    Entry find(std::string_view cookieHeader);
    void read();
    void write() const;

    const std::optional<std::filesystem::path> file;
    std::map<std::string, Session, std::less<>> sessions; // by the cookie that stays
    std::size_t destroyedSessions = 0;
};

} // namespace LumoSuite
