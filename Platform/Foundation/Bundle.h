#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

/// A folder that holds a program and what belongs to it:
/// `Name.app/Contents/{Info.plist,Linux/<executable>,Resources/}`.
///
/// Thread: any; a bundle never changes once it was read.
class Bundle {
public:
    /// The bundle of the running program, found from its executable and read at first use. A program outside
    /// of a bundle has no identifier and no information; its path and resources are the executable's folder.
    [[nodiscard]] static const Bundle& main();

    /// Reads the bundle at a path, whether or not there is one.
    explicit Bundle(std::filesystem::path path);

    /// The bundle's folder.
    [[nodiscard]] const std::filesystem::path& bundlePath() const { return path_; }
    /// The program: the file in the bundle that the entry "CFBundleExecutable" names, or one named as the bundle;
    /// nothing where that does not exist. That of the main bundle is the one that runs.
    [[nodiscard]] std::optional<std::filesystem::path> executablePath() const;
    /// The folder of the resources.
    [[nodiscard]] const std::filesystem::path& resourcePath() const { return resources; }
    /// The information entry "CFBundleIdentifier"; nothing if there is none.
    [[nodiscard]] std::optional<std::string> bundleIdentifier() const;
    /// Everything in `Info.plist`; nothing where that is missing or unreadable.
    [[nodiscard]] const std::optional<Value::Dictionary>& infoDictionary() const { return information; }
    /// One entry of `Info.plist`; null if there is none.
    [[nodiscard]] Value object(std::string_view forInfoDictionaryKey) const;
    /// The URL schemes that the program opens, in lower case: the texts in "CFBundleURLSchemes" of the entries
    /// in "CFBundleURLTypes". What is no scheme is left out.
    [[nodiscard]] std::vector<std::string> urlSchemes() const;

    /// The file `name.type` among the resources (`name` alone where the type is empty); nothing if it does
    /// not exist or lies outside of them.
    [[nodiscard]] std::optional<std::filesystem::path> path(
        std::string_view forResource, std::string_view ofType) const;

private:
    std::filesystem::path path_;
    std::filesystem::path running; // the program of the main bundle, else empty
    std::filesystem::path resources;
    std::optional<Value::Dictionary> information;
};

} // namespace LumoKit
