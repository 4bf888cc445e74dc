#include "Sessions.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <utility>

namespace LumoSuite {

namespace {

// Whoever signs in again and again does not fill the memory.
constexpr std::size_t mostSessions = 1000;

std::string randomText()
{
    static std::random_device random;
    std::array<char, 9> digits{};
    std::string text;
    for (int part = 0; part < 4; ++part) {
        std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned>(random()));
        text += digits.data();
    }
    return text;
}

// RFC 6265, section 4.2.1.
std::string_view cookie(std::string_view header, std::string_view name)
{
    while (!header.empty()) {
        const auto end = header.find(';');
        std::string_view pair = header.substr(0, end);
        while (pair.starts_with(' '))
            pair.remove_prefix(1);
        const auto equals = pair.find('=');
        if (equals != pair.npos && pair.substr(0, equals) == name)
            return pair.substr(equals + 1);
        header.remove_prefix(end == header.npos ? header.size() : end + 1);
    }
    return {};
}

} // namespace

Sessions::Sessions(std::optional<std::filesystem::path> file)
    : file(std::move(file))
{
    read();
}

Sessions::Cookies Sessions::begin(std::size_t account)
{
    if (sessions.size() >= mostSessions)
        sessions.erase(sessions.begin());
    Cookies cookies{randomText(), randomText()};
    sessions.insert_or_assign(cookies.staying, Session{account, cookies.turning, {}});
    write();
    return cookies;
}

Sessions::Entry Sessions::find(std::string_view cookieHeader)
{
    const std::string_view staying = cookie(cookieHeader, stayingCookie);
    const std::string_view turning = cookie(cookieHeader, turningCookie);
    const auto found = staying.empty() ? sessions.end() : sessions.find(staying);
    const auto isOf = [&](const auto& entry) {
        return !turning.empty() && (entry.second.turning == turning || entry.second.before == turning);
    };
    if (found != sessions.end() && isOf(*found))
        return found;
    // Wrong: whatever session the request knows of ends.
    std::size_t ended = std::erase_if(sessions, isOf);
    if (found != sessions.end() && sessions.erase(std::string(staying)))
        ++ended;
    if (ended > 0) {
        destroyedSessions += ended;
        write();
    }
    return sessions.end();
}

std::optional<std::size_t> Sessions::account(std::string_view cookieHeader)
{
    const auto found = find(cookieHeader);
    return found == sessions.end() ? std::nullopt : std::optional(found->second.account);
}

std::optional<std::string> Sessions::turn(std::string_view cookieHeader)
{
    const auto found = find(cookieHeader);
    if (found == sessions.end())
        return std::nullopt;
    // What the request has, and not what it was to have: a cookie may get lost on its way to a page that is left.
    found->second.before = cookie(cookieHeader, turningCookie);
    found->second.turning = randomText();
    write();
    return found->second.turning;
}

void Sessions::end(std::string_view cookieHeader)
{
    if (const auto found = find(cookieHeader); found != sessions.end()) {
        sessions.erase(found);
        write();
    }
}

void Sessions::read()
{
    if (!file)
        return;
    std::ifstream stream(*file);
    for (std::string line; std::getline(stream, line) && sessions.size() < mostSessions;) {
        std::istringstream words(line);
        std::string staying;
        Session session;
        if (words >> staying >> session.account >> session.turning) {
            words >> session.before;
            sessions.insert_or_assign(std::move(staying), std::move(session));
        }
    }
}

void Sessions::write() const
{
    if (!file)
        return;
    std::string text;
    for (const auto& [staying, session] : sessions)
        text += staying + " " + std::to_string(session.account) + " " + session.turning + " " + session.before
            + "\n";
    const std::string beside = file->string() + ".new";
    const int handle = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const bool whole =
        handle >= 0 && ::write(handle, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (handle >= 0)
        ::close(handle);
    if (!whole || ::rename(beside.c_str(), file->c_str()) != 0)
        std::perror("lumo-service: the sessions are not kept");
}

} // namespace LumoSuite
