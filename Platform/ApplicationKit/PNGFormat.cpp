#include "ImageFormats.h"
#include "PixelReducer.h"

#include <png.h>

#include <csetjmp> // before the library's header, which needs it
#include <cstring>
#include <vector>

namespace LumoKit::detail {

namespace {

/// The library's state. It reports an error by a jump, so that the functions which set that point have nothing to destroy.
struct Reader {
    explicit Reader(std::string_view bytes)
        : rest(bytes)
        , png(png_create_read_struct(
              PNG_LIBPNG_VER_STRING, nullptr,
              [](png_structp failed, png_const_charp) { png_longjmp(failed, 1); },
              [](png_structp, png_const_charp) {}))
    {
        if (png)
            info = png_create_info_struct(png);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }

    std::string_view rest; // not read yet
    png_structp png;
    png_infop info = nullptr;
};

void give(png_structp png, png_bytep to, std::size_t count)
{
    auto& rest = static_cast<Reader*>(png_get_io_ptr(png))->rest;
    if (count > rest.size())
        png_error(png, "cut off");
    std::memcpy(to, rest.data(), count);
    rest.remove_prefix(count);
}

bool readHead(Reader& reader)
{
    if (!reader.info || setjmp(png_jmpbuf(reader.png)) != 0)
        return false;
    png_set_read_fn(reader.png, &reader, give);
    // The picture has a checksum by its compression, too; a second one over the same bytes is a twentieth of the time.
    png_set_crc_action(reader.png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_read_info(reader.png, reader.info);
    return true;
}

/// Asks for rows of eight bits a component, with red, green, blue and maybe alpha, for a usual screen.
/// Returns the passes in which they come; 0 if that fails.
int begin(Reader& reader)
{
    if (setjmp(png_jmpbuf(reader.png)) != 0)
        return 0;
    png_set_alpha_mode(reader.png, PNG_ALPHA_PNG, PNG_DEFAULT_sRGB);
    png_set_expand(reader.png);
    png_set_scale_16(reader.png);
    png_set_gray_to_rgb(reader.png);
    const int passes = png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return passes;
}

/// Reads one pass, into rows of their own or into the one and only.
bool readPass(Reader& reader, int height, unsigned char* rows, std::size_t stride, PixelReducer* reducer)
{
    if (setjmp(png_jmpbuf(reader.png)) != 0)
        return false;
    for (int y = 0; y < height; ++y) {
        unsigned char* row = rows + stride * static_cast<std::size_t>(y);
        png_read_row(reader.png, row, nullptr);
        if (reducer)
            reducer->add(row);
    }
    return true;
}

bool matches(std::string_view bytes)
{
    return bytes.starts_with("\x89PNG\r\n\x1A\n");
}

std::optional<PixelSize> size(std::string_view bytes)
{
    Reader reader(bytes);
    if (!readHead(reader))
        return std::nullopt;
    return PixelSize{static_cast<int>(png_get_image_width(reader.png, reader.info)),
        static_cast<int>(png_get_image_height(reader.png, reader.info))};
}

PixelsPtr decode(std::string_view bytes, const PixelSize& own, const PixelSize& target)
{
    Reader reader(bytes);
    if (!readHead(reader))
        return nullptr;
    const int passes = begin(reader);
    const int channels = passes > 0 ? png_get_channels(reader.png, reader.info) : 0;
    if (channels != 3 && channels != 4)
        return nullptr;
    const std::size_t length = static_cast<std::size_t>(own.width) * static_cast<std::size_t>(channels);
    PixelReducer reducer(own, target, channels == 4 ? RowLayout::rgba : RowLayout::rgb);
    if (passes == 1) { // the rows come in their order, each once
        std::vector<unsigned char> row(length);
        return readPass(reader, own.height, row.data(), 0, &reducer) ? reducer.finish() : nullptr;
    }
    std::vector<unsigned char> rows(length * static_cast<std::size_t>(own.height));
    for (int pass = 0; pass < passes; ++pass)
        if (!readPass(reader, own.height, rows.data(), length, pass + 1 == passes ? &reducer : nullptr))
            return nullptr;
    return reducer.finish();
}

} // namespace

const ImageFormat pngFormat{matches, size, decode};

} // namespace LumoKit::detail
