#include <LumoKit/Platform/Foundation/Characters.h>

#include <simdjson.h>
#include <unicode/ubrk.h>
#include <unicode/ucasemap.h>
#include <unicode/unorm.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace LumoKit {

namespace {

struct Close {
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
    void operator()(UText* text) const { utext_close(text); }
    void operator()(UCaseMap* map) const { ucasemap_close(map); }
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

namespace {

/// As the library takes texts; nothing for what is no UTF-8.
std::optional<std::vector<UChar>> utf16(std::string_view text)
{
    std::vector<UChar> units(text.size() + 1); // no text has more of them than bytes
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), static_cast<std::int32_t>(units.size()), &length, text.data(),
        static_cast<std::int32_t>(text.size()), &status);
    if (U_FAILURE(status))
        return std::nullopt;
    units.resize(static_cast<std::size_t>(length));
    return units;
}

using CaseMapping = std::int32_t(
    const UCaseMap*, char*, std::int32_t, const char*, std::int32_t, UErrorCode*);

std::string mapped(std::string_view text, CaseMapping* mapping)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UCaseMap, Close> map(ucasemap_open("", 0, &status));
    if (U_FAILURE(status) || !isUTF8(text))
        return std::string(text);
    const auto length = static_cast<std::int32_t>(text.size());
    std::string result(text.size(), '\0');
    for (int attempt = 0; attempt < 2; ++attempt) { // a text may grow
        status = U_ZERO_ERROR;
        const std::int32_t needed = mapping(
            map.get(), result.data(), static_cast<std::int32_t>(result.size()), text.data(), length, &status);
        result.resize(static_cast<std::size_t>(std::max(needed, 0)));
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
    }
    return U_SUCCESS(status) ? result : std::string(text);
}

} // namespace

bool areCanonicallyEqual(std::string_view one, std::string_view other)
{
    if (one == other)
        return true;
    const auto first = utf16(one);
    const auto second = utf16(other);
    if (!first || !second)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t order = unorm_compare(first->data(), static_cast<std::int32_t>(first->size()),
        second->data(), static_cast<std::int32_t>(second->size()), U_FOLD_CASE_DEFAULT, &status);
    return U_SUCCESS(status) && order == 0;
}

std::string lowercased(std::string_view text)
{
    if (std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; })) {
        std::string result(text); // most are, and need no library
        for (char& letter : result)
            if (letter >= 'A' && letter <= 'Z')
                letter = static_cast<char>(letter - 'A' + 'a');
        return result;
    }
    return mapped(text, &ucasemap_utf8ToLower);
}

std::string uppercased(std::string_view text)
{
    return mapped(text, &ucasemap_utf8ToUpper);
}

bool isUTF8(std::string_view bytes)
{
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

} // namespace LumoKit
