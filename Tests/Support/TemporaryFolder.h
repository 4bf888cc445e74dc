#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace LumoKit::Test {

/// A folder of a test's own, gone with it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "test-XXXXXX";
        path = std::filesystem::canonical(::mkdtemp(pattern.data()));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path operator/(std::string_view name) const { return path / name; }

    std::filesystem::path path;
};

/// Writes a file in place: the same file, cut to nothing first.
inline void writeInPlace(const std::filesystem::path& file, std::string_view text)
{
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

/// Replaces a file by another, as careful editors do.
inline void replace(const std::filesystem::path& file, std::string_view text)
{
    const std::filesystem::path next = file.string() + ".next";
    writeInPlace(next, text);
    std::filesystem::rename(next, file);
}

} // namespace LumoKit::Test
