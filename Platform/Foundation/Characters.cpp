#include <LumoKit/Platform/Foundation/Characters.h>

#include <simdjson.h>
#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include <memory>

namespace LumoKit {

namespace {

struct Close {
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
    void operator()(UText* text) const { utext_close(text); }
};

} // namespace

std::optional<std::string_view> firstCharacters(std::string_view text, std::size_t count)
{
    if (count == 0)
        return text.substr(0, 0);
    if (count > text.size())
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UText, Close> source(
        utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status));
    thread_local const std::unique_ptr<UBreakIterator, Close> iterator([] {
        UErrorCode opened = U_ZERO_ERROR;
        return ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &opened);
    }());
    if (!iterator)
        return std::nullopt;
    ubrk_setUText(iterator.get(), source.get(), &status);
    if (U_FAILURE(status))
        return std::nullopt;
    std::int32_t end = 0;
    for (std::size_t taken = 0; taken < count; ++taken) {
        end = ubrk_next(iterator.get());
        if (end == UBRK_DONE)
            return std::nullopt;
    }
    return text.substr(0, static_cast<std::size_t>(end));
}

bool isUTF8(std::string_view bytes)
{
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

} // namespace LumoKit
