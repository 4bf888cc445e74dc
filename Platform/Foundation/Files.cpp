#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <fcntl.h>
#include <unicode/ucnv.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace LumoKit {

namespace {

std::unexpected<Error> failure(const std::filesystem::path& file, int code)
{
    return std::unexpected(Error{"POSIX", code, file.string() + ": " + std::strerror(code)});
}

/// Writes everything, or gives the number of the error.
int writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

/// Makes what was renamed in a folder last.
void synchronizeFolder(const std::filesystem::path& folder)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

/// The text after a byte order mark, converted.
std::optional<std::string> converted(std::string_view bytes, const char* encoding)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, detail::FreedBy<ucnv_close>> from(ucnv_open(encoding, &status));
    const std::unique_ptr<UConverter, detail::FreedBy<ucnv_close>> to(ucnv_open("UTF-8", &status));
    if (U_FAILURE(status))
        return std::nullopt;
    ucnv_setToUCallBack(from.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    std::string text(bytes.size() * 3 / 2 + 4, '\0'); // two bytes of UTF-16 become three at most
    char* target = text.data();
    const char* source = bytes.data();
    ucnv_convertEx(to.get(), from.get(), &target, text.data() + text.size(), &source,
        bytes.data() + bytes.size(), nullptr, nullptr, nullptr, nullptr, true, true, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    text.resize(static_cast<std::size_t>(target - text.data()));
    return text;
}

} // namespace

std::optional<std::string> readFile(const std::filesystem::path& file)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) // a pipe would be waited for
        return std::nullopt;
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream bytes;
    if (stream.peek() != std::ifstream::traits_type::eof())
        bytes << stream.rdbuf();
    if (!stream.is_open() || stream.bad() || bytes.fail())
        return std::nullopt;
    return std::move(bytes).str();
}

std::expected<void, Error> writeFile(
    const std::filesystem::path& file, std::string_view bytes, FileWriting how)
{
    std::string next = file.string() + ".XXXXXX";
    const int descriptor = ::mkostemp(next.data(), O_CLOEXEC); // for the user alone
    if (descriptor < 0)
        return failure(file, errno);
    int code = writeAll(descriptor, bytes);
    if (code == 0 && how == FileWriting::atomicAndLasting && ::fsync(descriptor) < 0)
        code = errno;
    if (::close(descriptor) < 0 && code == 0)
        code = errno;
    if (code == 0 && ::rename(next.c_str(), file.c_str()) < 0)
        code = errno;
    if (code != 0) {
        ::unlink(next.c_str());
        return failure(file, code);
    }
    if (how == FileWriting::atomicAndLasting)
        synchronizeFolder(file.parent_path());
    return {};
}

std::optional<std::string> readText(const std::filesystem::path& file)
{
    auto bytes = readFile(file);
    if (!bytes)
        return std::nullopt;
    if (bytes->starts_with("\xEF\xBB\xBF"))
        bytes->erase(0, 3);
    else if (bytes->starts_with(std::string_view("\xFF\xFE\0\0", 4)))
        return converted(std::string_view(*bytes).substr(4), "UTF-32LE");
    else if (bytes->starts_with(std::string_view("\0\0\xFE\xFF", 4)))
        return converted(std::string_view(*bytes).substr(4), "UTF-32BE");
    else if (bytes->starts_with("\xFF\xFE"))
        return converted(std::string_view(*bytes).substr(2), "UTF-16LE");
    else if (bytes->starts_with("\xFE\xFF"))
        return converted(std::string_view(*bytes).substr(2), "UTF-16BE");
    return isUTF8(*bytes) ? bytes : std::nullopt;
}

} // namespace LumoKit
