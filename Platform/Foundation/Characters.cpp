#include <LumoKit/Platform/Foundation/Characters.h>

#include <simdjson.h>
#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include <algorithm>
#include <memory>

namespace LumoKit {

namespace {

struct Close {
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
    void operator()(UText* text) const { utext_close(text); }
};

/// Where the characters of a text end, one after another; no iterator where ICU has none.
struct Breaks {
    explicit Breaks(std::string_view text)
        : source(utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status))
    {
        thread_local const std::unique_ptr<UBreakIterator, Close> kept([] {
            UErrorCode opened = U_ZERO_ERROR;
            return ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &opened);
        }());
        if (!kept)
            return;
        ubrk_setUText(kept.get(), source.get(), &status);
        if (U_SUCCESS(status))
            iterator = kept.get();
    }

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UText, Close> source;
    UBreakIterator* iterator = nullptr;
};

} // namespace

std::optional<std::string_view> firstCharacters(std::string_view text, std::size_t count)
{
    if (count == 0)
        return text.substr(0, 0);
    if (count > text.size())
        return std::nullopt;
    const Breaks breaks(text);
    if (!breaks.iterator)
        return std::nullopt;
    std::int32_t end = 0;
    for (std::size_t taken = 0; taken < count; ++taken) {
        end = ubrk_next(breaks.iterator);
        if (end == UBRK_DONE)
            return std::nullopt;
    }
    return text.substr(0, static_cast<std::size_t>(end));
}

std::size_t characterCount(std::string_view text)
{
    // Of ASCII only a carriage return joins with what follows it.
    if (std::ranges::all_of(text, [](unsigned char byte) { return byte < 0x80 && byte != '\r'; }))
        return text.size();
    const Breaks breaks(text);
    std::size_t count = 0;
    while (breaks.iterator && ubrk_next(breaks.iterator) != UBRK_DONE)
        ++count;
    return count;
}

bool isUTF8(std::string_view bytes)
{
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

} // namespace LumoKit
