#include "Project.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <vector>

namespace LumoKit::Generator {

namespace fs = std::filesystem;

namespace {

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}
bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}
char lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

/// The words of ASCII letters and digits in a text.
std::vector<std::string> words(std::string_view text)
{
    std::vector<std::string> found(1);
    for (const char character : text) {
        if (isLetter(character) || isDigit(character))
            found.back() += character;
        else if (character != '\'' && !found.back().empty())
            found.emplace_back();
    }
    if (found.back().empty())
        found.pop_back();
    return found;
}

std::string programName(const std::vector<std::string>& words)
{
    std::string name;
    for (std::string word : words) {
        if (word.front() >= 'a' && word.front() <= 'z')
            word.front() = static_cast<char>(word.front() - 'a' + 'A');
        name += word;
    }
    return name.empty() || isDigit(name.front()) ? "Host" + name : name;
}

std::string folderName(const std::vector<std::string>& words)
{
    std::string name;
    for (const std::string& word : words) {
        if (!name.empty())
            name += '-';
        std::ranges::transform(word, std::back_inserter(name), lower);
    }
    return name.empty() || isDigit(name.front()) ? "host" + name : name;
}

/// The name of an application on the session bus and of its desktop entry.
bool isIdentifier(std::string_view text)
{
    if (text.size() > 255 || std::ranges::count(text, '.') == 0)
        return false;
    char before = '.';
    for (const char character : text) {
        if (character == '.'
                ? before == '.'
                : !isLetter(character) && character != '_' && (before == '.' || !isDigit(character)))
            return false;
        before = character;
    }
    return before != '.';
}

bool isScheme(std::string_view text)
{
    return !text.empty() && text.size() <= 64 && text.front() >= 'a' && text.front() <= 'z'
        && std::ranges::all_of(text, [](char character) {
               return (character >= 'a' && character <= 'z') || isDigit(character) || character == '-'
                   || character == '.' || character == '+';
           });
}

constexpr std::array<std::string_view, 13> takenSchemes{"about", "blob", "data", "file", "ftp", "http",
    "https", "javascript", "mailto", "resource", "webkit", "ws", "wss"};

std::string replaced(std::string_view text, std::initializer_list<std::pair<char, std::string_view>> escapes)
{
    std::string escaped;
    for (const char character : text) {
        const auto* const found =
            std::ranges::find(escapes, character, &std::pair<char, std::string_view>::first);
        if (found == escapes.end())
            escaped += character;
        else
            escaped += found->second;
    }
    return escaped;
}

std::string written(std::string_view value, std::string_view kind)
{
    if (kind == "xml")
        return replaced(
            value, {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}});
    if (kind == "cpp")
        return replaced(value, {{'\\', "\\\\"}, {'"', "\\\""}, {'?', "\\?"}});
    if (kind == "desktop")
        return replaced(value, {{'\\', "\\\\"}});
    if (kind == "markdown")
        return replaced(value,
            {{'\\', "\\\\"}, {'<', "\\<"}, {'*', "\\*"}, {'_', "\\_"}, {'`', "\\`"}, {'[', "\\["},
                {'#', "\\#"}});
    return std::string(value);
}

} // namespace

std::expected<Project, std::string> Project::create(const Wishes& wishes)
{
    const auto wrong = [](std::string what) { return std::unexpected(std::move(what)); };
    const bool hasControls = std::ranges::any_of(wishes.name,
        [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7F; });
    if (wishes.name.find_first_not_of(' ') == std::string::npos || hasControls || wishes.name.size() > 100)
        return wrong("the name has to be one line of a hundred bytes at most");
    const auto url = URL::parse(wishes.url);
    const bool isOfTheWeb =
        url && url->host() && !url->host()->empty() && (url->scheme() == "https" || url->scheme() == "http");
    if (!isOfTheWeb)
        return wrong("--url has to be the address of a web application: https://calendar.example.com/");
    if (!isIdentifier(wishes.identifier))
        return wrong(
            "--id has to be words of letters, digits and \"_\" with dots between them: org.example.calendar");
    if (!isScheme(wishes.scheme))
        return wrong(
            "--scheme has to be a lower-case letter and then those, digits, \"+\", \"-\" and \".\": mycal");
    if (std::ranges::find(takenSchemes, wishes.scheme) != takenSchemes.end())
        return wrong("--scheme: \"" + wishes.scheme + "\" is the web's or the system's own");
    const auto parts = words(wishes.name);
    return Project({{"name", wishes.name}, {"url", url->absoluteString()}, {"identifier", wishes.identifier},
        {"scheme", wishes.scheme}, {"program", programName(parts)},
        {"folder", LumoKit::Generator::folderName(parts)}, {"dot", "."}});
}

std::string Project::filled(std::string_view text) const
{
    std::string filled;
    for (;;) {
        const std::size_t begin = text.find("@{");
        const std::size_t end = begin == std::string_view::npos ? begin : text.find('}', begin);
        if (end == std::string_view::npos)
            return filled.append(text);
        filled.append(text.substr(0, begin));
        const std::string_view place = text.substr(begin + 2, end - begin - 2);
        const std::size_t bar = place.find('|');
        const auto value = values.find(place.substr(0, bar));
        if (value == values.end())
            filled.append(text.substr(begin, end + 1 - begin)); // somebody else's
        else
            filled += written(value->second, bar == std::string_view::npos ? "" : place.substr(bar + 1));
        text.remove_prefix(end + 1);
    }
}

std::string Project::filledName(std::string name) const
{
    for (const auto& [key, value] : values)
        for (std::size_t at = 0; (at = name.find("__" + key + "__", at)) != std::string::npos;
            at += value.size())
            name.replace(at, key.size() + 4, value);
    return name;
}

std::expected<void, std::string> Project::write(const fs::path& from, const fs::path& folder) const
{
    std::error_code error;
    if (!fs::is_directory(from, error))
        return std::unexpected("the template is missing: " + from.string());
    const bool existed = fs::exists(folder, error);
    if (existed && (!fs::is_directory(folder, error) || !fs::is_empty(folder, error)))
        return std::unexpected(folder.string() + " is there already");
    const auto fail = [&](const std::string& why) {
        std::error_code ignored;
        if (existed)
            for (const auto& entry : fs::directory_iterator(folder, ignored))
                fs::remove_all(entry.path(), ignored);
        else
            fs::remove_all(folder, ignored);
        return std::unexpected(why);
    };
    fs::create_directories(folder, error);
    if (error)
        return fail(folder.string() + ": " + error.message());
    for (const auto& entry : fs::recursive_directory_iterator(from, error)) {
        const fs::path target = folder / filledName(fs::relative(entry.path(), from));
        if (entry.is_directory()) {
            fs::create_directories(target, error);
        } else {
            std::ifstream template_(entry.path(), std::ios::binary);
            const std::string text(std::istreambuf_iterator<char>(template_), {});
            std::ofstream file(target, std::ios::binary);
            file << filled(text);
            if (!template_ || !file.flush())
                return fail(target.string() + " could not be written");
            fs::permissions(target, entry.status().permissions(), error);
        }
        if (error)
            return fail(target.string() + ": " + error.message());
    }
    return error ? fail(error.message()) : std::expected<void, std::string>();
}

} // namespace LumoKit::Generator
