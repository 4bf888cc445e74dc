#include "TestImages.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <jpeglib.h>
#include <png.h>
#include <sys/resource.h>
#include <webp/encode.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace LumoKit::Test {

namespace {

std::vector<std::uint8_t> bytesOf(int width, int height, const Paint& paint, int channels)
{
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Colour colour = paint(x, y);
            bytes.insert(bytes.end(), {colour.red, colour.green, colour.blue});
            if (channels == 4)
                bytes.push_back(colour.alpha);
        }
    return bytes;
}

} // namespace

std::string pngFile(int width, int height, const Paint& paint, bool hasAlpha)
{
    const int channels = hasAlpha ? 4 : 3;
    const auto bytes = bytesOf(width, height, paint, channels);
    GdkPixbuf* picture = gdk_pixbuf_new_from_data(bytes.data(), GDK_COLORSPACE_RGB, hasAlpha ? TRUE : FALSE,
        8, width, height, width * channels, nullptr, nullptr);
    char* file = nullptr;
    gsize length = 0;
    gdk_pixbuf_save_to_buffer(picture, &file, &length, "png", nullptr, nullptr);
    std::string made(file, length);
    g_free(file);
    g_object_unref(picture);
    return made;
}

std::string interlacedPNGFile(int width, int height, const Paint& paint)
{
    auto bytes = bytesOf(width, height, paint, 4);
    std::string file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &file,
        [](png_structp writer, png_bytep data, std::size_t count) {
            static_cast<std::string*>(png_get_io_ptr(writer))->append(reinterpret_cast<char*>(data), count);
        },
        nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
        PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_ADAM7, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_bytep> rows;
    for (int y = 0; y < height; ++y)
        rows.push_back(bytes.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 4);
    png_set_rows(png, info, rows.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    return file;
}

std::string jpegFile(int width, int height, const Paint& paint, bool progressive)
{
    auto bytes = bytesOf(width, height, paint, 3);
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* file = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &file, &length);
    info.image_width = static_cast<JDIMENSION>(width);
    info.image_height = static_cast<JDIMENSION>(height);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 90, TRUE);
    if (progressive)
        jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        unsigned char* row =
            bytes.data() + std::size_t{info.next_scanline} * static_cast<std::size_t>(width) * 3;
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::string made(reinterpret_cast<char*>(file), length);
    std::free(file);
    return made;
}

std::string webpFile(int width, int height, const Paint& paint)
{
    const auto bytes = bytesOf(width, height, paint, 4);
    std::uint8_t* file = nullptr;
    const std::size_t length = WebPEncodeLosslessRGBA(bytes.data(), width, height, 4 * width, &file);
    std::string made(reinterpret_cast<char*>(file), length);
    WebPFree(file);
    return made;
}

// Codes of three bits for two colours, with so many codes that begin anew that the codes never grow.
std::string gifFile(int width, int height, int pictures)
{
    const auto number = [](int value) {
        return std::string{static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
    };
    std::string file = "GIF89a" + number(width) + number(height) + std::string("\x80\0\0", 3);
    file += {static_cast<char>(red.red), static_cast<char>(red.green), static_cast<char>(red.blue)};
    file += {static_cast<char>(blue.red), static_cast<char>(blue.green), static_cast<char>(blue.blue)};
    for (int picture = 0; picture < pictures; ++picture) {
        file += std::string("\x21\xF9\x04\0\x0A\0\0\0", 8);
        file += "," + number(0) + number(0) + number(width) + number(height) + std::string("\0\x02", 2);
        std::vector<unsigned> codes;
        for (int pixel = 0; pixel < width * height; ++pixel) {
            if (pixel % 2 == 0)
                codes.push_back(4);
            codes.push_back(static_cast<unsigned>(picture % 2));
        }
        codes.push_back(5);
        std::string bits;
        unsigned held = 0;
        int count = 0;
        for (const unsigned code : codes) {
            held |= code << count;
            for (count += 3; count >= 8; count -= 8, held >>= 8)
                bits += static_cast<char>(held & 0xFF);
        }
        bits += static_cast<char>(held & 0xFF);
        for (std::size_t begin = 0; begin < bits.size(); begin += 255) {
            const std::string block = bits.substr(begin, 255);
            file += static_cast<char>(block.size()) + block;
        }
        file += '\0';
    }
    return file + ";";
}

Colour photograph(int x, int y)
{
    const unsigned grain = (static_cast<unsigned>(x) * 2654435761U ^ static_cast<unsigned>(y) * 40503U) >> 13;
    const auto component = [&](double value) {
        return static_cast<std::uint8_t>(std::clamp(value + grain % 10, 0.0, 255.0));
    };
    return {component(128 + 100 * std::sin(x / 40.0)), component(128 + 90 * std::cos(y / 30.0)),
        component((x + y) / 5.0)};
}

Data dataOf(const std::string& bytes)
{
    const auto* begin = reinterpret_cast<const std::byte*>(bytes.data());
    return {begin, begin + bytes.size()};
}

Colour at(const detail::Pixels& pixels, int x, int y)
{
    const std::uint32_t pixel = pixels.row(y)[x];
    const auto component = [&](int shift) { return static_cast<std::uint8_t>(pixel >> shift & 0xFF); };
    return {component(16), component(8), component(0), component(24)};
}

bool isNear(const Colour& one, const Colour& other, int difference)
{
    return std::abs(one.red - other.red) <= difference && std::abs(one.green - other.green) <= difference
        && std::abs(one.blue - other.blue) <= difference && std::abs(one.alpha - other.alpha) <= difference;
}

long peakMemory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

} // namespace LumoKit::Test
