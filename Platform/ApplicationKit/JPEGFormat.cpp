#include "ImageFormats.h"
#include "PixelReducer.h"

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstdio> // before the library's header, which needs it

namespace LumoKit::detail {

namespace {

/// A progressive file can say the same over and over, in a few bytes each time; real ones have a dozen scans.
constexpr int mostScans = 64;

/// The library's state. It reports an error by a jump to `failed`, so that the functions which set that point have
/// nothing to destroy.
struct Reader {
    Reader()
    {
        info.err = jpeg_std_error(&errors);
        info.client_data = this;
        errors.error_exit = [](j_common_ptr common) { fail(common); };
        errors.emit_message = [](j_common_ptr common, int level) {
            // The library makes up what is missing of a file that was cut off, and only mentions it.
            const int code = common->err->msg_code;
            if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER))
                fail(common);
        };
        errors.output_message = [](j_common_ptr) { };
        progress.progress_monitor = [](j_common_ptr common) {
            if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > mostScans)
                fail(common);
        };
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&info); }

    [[noreturn]] static void fail(j_common_ptr common)
    {
        std::longjmp(static_cast<Reader*>(common->client_data)->failed, 1);
    }

    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr progress{};
    std::jmp_buf failed{};
};

bool readHead(Reader& reader, std::string_view bytes)
{
    if (setjmp(reader.failed) != 0)
        return false;
    jpeg_create_decompress(&reader.info);
    reader.info.progress = &reader.progress;
    jpeg_mem_src(&reader.info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    return jpeg_read_header(&reader.info, TRUE) == JPEG_HEADER_OK;
}

/// Begins to decode, at the smallest scale that the library has for the target.
bool begin(Reader& reader, const PixelSize& target)
{
    if (setjmp(reader.failed) != 0)
        return false;
    auto& info = reader.info;
    const bool isForPrint = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
    info.out_color_space = isForPrint ? JCS_CMYK : JCS_RGB;
    info.scale_denom = 8;
    for (info.scale_num = 1; info.scale_num < 8;
        info.scale_num *= 2) { // others are slower than the next of these
        jpeg_calc_output_dimensions(&info);
        if (static_cast<int>(info.output_width) >= target.width
            && static_cast<int>(info.output_height) >= target.height)
            break;
    }
    return jpeg_start_decompress(&info) == TRUE;
}

/// Cyan, magenta, yellow and black to red, green and blue, in place. Files of the usual program have them inverted.
void convertFromPrint(unsigned char* row, unsigned width, bool inverted)
{
    for (unsigned x = 0; x < width; ++x) {
        const unsigned char* ink = row + std::size_t{4} * x;
        const unsigned key = inverted ? ink[3] : 255U - ink[3];
        for (unsigned channel = 0; channel < 3; ++channel) {
            const unsigned light = inverted ? ink[channel] : 255U - ink[channel];
            row[std::size_t{3} * x + channel] = static_cast<unsigned char>((light * key + 127) / 255);
        }
    }
}

bool readRows(Reader& reader, unsigned char* row, PixelReducer& reducer)
{
    if (setjmp(reader.failed) != 0)
        return false;
    auto& info = reader.info;
    while (info.output_scanline < info.output_height) {
        if (jpeg_read_scanlines(&info, &row, 1) != 1)
            return false;
        if (info.out_color_space == JCS_CMYK)
            convertFromPrint(row, info.output_width, info.saw_Adobe_marker == TRUE);
        reducer.add(row);
    }
    return true;
}

bool matches(std::string_view bytes)
{
    return bytes.starts_with("\xFF\xD8\xFF");
}

std::optional<PixelSize> size(std::string_view bytes)
{
    Reader reader;
    if (!readHead(reader, bytes))
        return std::nullopt;
    return PixelSize{static_cast<int>(reader.info.image_width), static_cast<int>(reader.info.image_height)};
}

PixelsPtr decode(std::string_view bytes, const PixelSize&, const PixelSize& target)
{
    Reader reader;
    if (!readHead(reader, bytes) || !begin(reader, target))
        return nullptr;
    const PixelSize scaled{
        static_cast<int>(reader.info.output_width), static_cast<int>(reader.info.output_height)};
    std::vector<unsigned char> row(std::size_t{4} * reader.info.output_width);
    PixelReducer reducer(scaled, target, RowLayout::rgb);
    return readRows(reader, row.data(), reducer) ? reducer.finish() : nullptr;
}

} // namespace

const ImageFormat jpegFormat{matches, size, decode};

} // namespace LumoKit::detail
