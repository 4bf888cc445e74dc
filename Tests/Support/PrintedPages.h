#pragma once

#include <array>
#include <filesystem>
#include <string>

namespace LumoKit::Test {

/// A printed file, read by poppler's programs.
class PrintedPages {
public:
    /// Waits until the file is there and complete; then `isComplete`.
    explicit PrintedPages(std::filesystem::path file);

    bool isComplete = false;

    [[nodiscard]] int count() const;
    /// Units: points.
    [[nodiscard]] double width() const;
    [[nodiscard]] double height() const;
    /// The text of all pages.
    [[nodiscard]] std::string text() const;

    /// How far what is on a page is from the page's edges.
    /// Units: points.
    struct Distances {
        double left;
        double top;
        double right;
        double bottom;
    };
    [[nodiscard]] Distances distances(int page) const;

    /// How many points of a page's area have about that colour.
    [[nodiscard]] int area(int page, std::array<int, 3> colour) const;

private:
    [[nodiscard]] std::string fact(const std::string& name) const;

    std::filesystem::path file;
};

} // namespace LumoKit::Test
