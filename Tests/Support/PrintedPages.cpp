#include "PrintedPages.h"

#include "Waiting.h"

#include <stdio.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace LumoKit::Test {

namespace {

constexpr int dotsPerPoint = 2;

std::string outputOf(const std::string& command)
{
    std::string output;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return output;
    char part[65536];
    while (const std::size_t read = ::fread(part, 1, sizeof part, pipe))
        output.append(part, read);
    ::pclose(pipe);
    return output;
}

bool isCompletePDF(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    return bytes.starts_with("%PDF-")
        && bytes.substr(bytes.size() - std::min<std::size_t>(8, bytes.size())).contains("%%EOF");
}

struct Picture {
    int width = 0;
    int height = 0;
    std::string pixels;

    [[nodiscard]] std::array<int, 3> at(int x, int y) const
    {
        const auto* pixel =
            reinterpret_cast<const unsigned char*>(pixels.data()) + std::ptrdiff_t(y * width + x) * 3;
        return {pixel[0], pixel[1], pixel[2]};
    }
};

Picture pictureOf(const std::filesystem::path& file, int page)
{
    std::istringstream in(outputOf("pdftoppm -r " + std::to_string(72 * dotsPerPoint) + " -f "
        + std::to_string(page) + " -l " + std::to_string(page) + " '" + file.string() + "'"));
    std::string kind;
    int most = 0;
    Picture picture;
    in >> kind >> picture.width >> picture.height >> most;
    in.get();
    picture.pixels.assign(std::istreambuf_iterator<char>(in), {});
    if (kind != "P6" || most != 255
        || picture.pixels.size() < std::size_t(picture.width * picture.height) * 3)
        return {};
    return picture;
}

} // namespace

PrintedPages::PrintedPages(std::filesystem::path printed)
    : file(std::move(printed))
{
    isComplete = waitForOthers([&] { return isCompletePDF(file); });
}

std::string PrintedPages::fact(const std::string& name) const
{
    std::istringstream facts(outputOf("pdfinfo '" + file.string() + "'"));
    for (std::string line; std::getline(facts, line);)
        if (line.starts_with(name + ":"))
            return line.substr(name.size() + 1);
    return {};
}

int PrintedPages::count() const
{
    return std::atoi(fact("Pages").c_str());
}

double PrintedPages::width() const
{
    return std::atof(fact("Page size").c_str());
}

double PrintedPages::height() const
{
    const std::string size = fact("Page size");
    const auto by = size.find(" x ");
    return by == size.npos ? 0 : std::atof(size.c_str() + by + 3);
}

std::string PrintedPages::text() const
{
    return outputOf("pdftotext -layout '" + file.string() + "' -");
}

PrintedPages::Distances PrintedPages::distances(int page) const
{
    const Picture picture = pictureOf(file, page);
    int left = picture.width;
    int top = picture.height;
    int right = 0;
    int bottom = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            if (const auto pixel = picture.at(x, y); pixel[0] + pixel[1] + pixel[2] < 3 * 128) {
                left = std::min(left, x);
                top = std::min(top, y);
                right = std::max(right, x + 1);
                bottom = std::max(bottom, y + 1);
            }
    const auto points = [](int dots) { return double(dots) / dotsPerPoint; };
    return {points(left), points(top), points(picture.width - right), points(picture.height - bottom)};
}

int PrintedPages::area(int page, std::array<int, 3> colour) const
{
    const Picture picture = pictureOf(file, page);
    int dots = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const auto pixel = picture.at(x, y);
            dots += std::ranges::equal(pixel, colour, [](int a, int b) { return std::abs(a - b) < 24; });
        }
    return dots / (dotsPerPoint * dotsPerPoint);
}

} // namespace LumoKit::Test
