#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <expected>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace LumoKit::Generator {

/// What a new host is to be.
struct Wishes {
    std::string name; // as a person reads it
    std::string url; // of the web application
    std::string identifier; // of the bundle
    std::string scheme; // of the links that it opens
};

/// A new host, whose every part is known to be usable where it will stand.
class Project {
public:
    /// Errors: what is wrong with a wish, for a person.
    [[nodiscard]] static std::expected<Project, std::string> create(const Wishes& wishes);

    /// The name of the folder that such a project usually has: "my-calendar".
    [[nodiscard]] const std::string& folderName() const { return values.at("folder"); }

    /// Writes the project, from the template in another folder.
    /// Errors: why nothing was written, for a person. `folder` may be an empty folder, and else must not be there.
    [[nodiscard]] std::expected<void, std::string> write(
        const std::filesystem::path& from, const std::filesystem::path& folder) const;

    /// A template's text with its values.
    ///
    /// `@{name}` stands for a value as it is, `@{name|xml}`, `@{name|cpp}`, `@{name|desktop}` and `@{name|markdown}` for the
    /// value as it is written in a file of that kind. In the names of files `__name__` stands for a value, and `__dot__` for a
    /// dot: what is hidden in a host is no hidden file of the template, which packages do not hold.
    [[nodiscard]] std::string filled(std::string_view text) const;
    [[nodiscard]] std::string filledName(std::string name) const;

private:
    explicit Project(std::map<std::string, std::string, std::less<>> values)
        : values(std::move(values))
    {
    }

    std::map<std::string, std::string, std::less<>> values;
};

} // namespace LumoKit::Generator
