#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace LumoSuite {

/// A static file as it is sent: its bytes and its media type.
struct PageFile {
    std::string bytes;
    std::string_view type;
};

/// The static files below one directory, read anew at each request so that an edited page shows after a
/// reload.
class PageFiles {
public:
    /// Opens the directory that holds the pages.
    ///
    /// Errors: a sentence with the directory and the system's reason.
    static std::expected<PageFiles, std::string> open(const std::filesystem::path& directory);

    PageFiles(PageFiles&&) noexcept;
    PageFiles& operator=(PageFiles&&) noexcept;
    ~PageFiles();

    /// Reads the file at a decoded relative path, where a path that ends in "/" means the `index.html` in it.
    ///
    /// Symbolic links below the directory are not followed, hidden names do not exist, and only regular files
    /// of a bounded size are read.
    ///
    /// Errors: nothing, for every reason alike, so that an answer tells nothing about what lies outside.
    std::optional<PageFile> read(std::string_view path) const;

private:
    struct Directory;

    explicit PageFiles(std::unique_ptr<Directory> opened);

    std::unique_ptr<Directory> directory;
};

/// The media type of a file name by its extension, which letter case does not change.
std::string_view mediaType(std::string_view name);

} // namespace LumoSuite
