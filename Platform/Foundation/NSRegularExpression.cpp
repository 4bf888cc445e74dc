#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/NSRegularExpression.h>

#include <unicode/uregex.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

namespace LumoKit {

namespace {

// What one search may take. Choices that can be taken back, in ten thousands (a second or less), and the bytes
// that remember them (enough for two hundred thousand) are counted, so that equal searches end equally. What is
// not counted is how far a back reference compares at each choice: patterns with one get less memory, and all
// searches end by the clock.
constexpr std::int32_t mostChoices = 5000;
constexpr std::int32_t mostMemory = 8'000'000;
constexpr std::int32_t mostMemoryWithBackReference = 1'000'000;
constexpr std::chrono::seconds mostTime{2};

/// Whether a pattern may have a back reference, `\1` to `\9` or `\k<name>`.
bool mayReferBack(std::string_view pattern)
{
    for (auto at = pattern.find('\\'); at != pattern.npos; at = pattern.find('\\', at + 1))
        if (pattern.substr(at + 1, 1).find_first_of("123456789k") == 0)
            return true;
    return false;
}

/// The character that begins at `position`, which moves behind it; U+FFFD for bytes that are no UTF-8.
UChar32 nextCharacter(std::string_view bytes, std::int32_t& position)
{
    const auto* source = reinterpret_cast<const std::uint8_t*>(bytes.data());
    UChar32 character = 0;
    // NOLINTNEXTLINE(bugprone-inc-dec-in-conditions): inside ICU's macro
    U8_NEXT_OR_FFFD(source, position, static_cast<std::int32_t>(bytes.size()), character);
    return character;
}

/// A text as ICU reads it, which is in UTF-16, and the way back.
class Units {
public:
    explicit Units(std::string_view bytes)
        : bytes(bytes)
    {
        if (bytes.size() > std::numeric_limits<std::int32_t>::max())
            return;
        units.resize_and_overwrite(bytes.size(), [&](char16_t* buffer, std::size_t) {
            const auto size = static_cast<std::int32_t>(bytes.size());
            std::int32_t written = 0;
            for (std::int32_t read = 0; read < size;) {
                const UChar32 character = nextCharacter(bytes, read);
                U16_APPEND_UNSAFE(buffer, written, character);
            }
            return static_cast<std::size_t>(written);
        });
        isRead = true;
    }

    [[nodiscard]] bool isReadable() const { return isRead; }
    [[nodiscard]] const char16_t* data() const { return units.data(); }
    [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(units.size()); }

    /// The bytes of a range of units.
    [[nodiscard]] std::string_view part(std::int32_t begin, std::int32_t end)
    {
        const std::size_t from = offset(static_cast<std::size_t>(begin));
        return bytes.substr(from, offset(static_cast<std::size_t>(end)) - from);
    }

private:
    [[nodiscard]] std::size_t offset(std::size_t unit)
    {
        if (units.size() == bytes.size())
            return unit; // every character is one byte and one unit
        if (offsets.empty())
            collectOffsets();
        return offsets[unit];
    }

    void collectOffsets()
    {
        offsets.reserve(units.size() + 1);
        const auto size = static_cast<std::int32_t>(bytes.size());
        for (std::int32_t read = 0; read < size;) {
            const auto begin = static_cast<std::uint32_t>(read);
            const UChar32 character = nextCharacter(bytes, read);
            offsets.insert(offsets.end(), static_cast<std::size_t>(U16_LENGTH(character)), begin);
        }
        offsets.push_back(static_cast<std::uint32_t>(size));
    }

    std::string_view bytes;
    std::u16string units;
    std::vector<std::uint32_t> offsets; // of the character that each unit is of
    bool isRead = false;
};

struct Close {
    void operator()(URegularExpression* expression) const { uregex_close(expression); }
};

} // namespace

struct NSRegularExpression::Native {
    std::unique_ptr<URegularExpression, Close> expression;
    std::chrono::steady_clock::time_point end;

    /// Begins to read a text; false where that cannot be done.
    bool begin(const Units& text)
    {
        UErrorCode status = U_ZERO_ERROR;
        if (text.isReadable())
            uregex_setText(expression.get(), text.data(), text.size(), &status);
        end = std::chrono::steady_clock::now() + mostTime;
        return text.isReadable() && U_SUCCESS(status);
    }

    bool find()
    {
        UErrorCode status = U_ZERO_ERROR; // of a search that has taken too long, among others
        return uregex_findNext(expression.get(), &status) && U_SUCCESS(status);
    }

    /// What a group holds, or the whole match for 0.
    std::optional<std::string_view> part(Units& text, std::int32_t group)
    {
        UErrorCode status = U_ZERO_ERROR;
        const std::int32_t begin = uregex_start(expression.get(), group, &status);
        if (U_FAILURE(status) || begin < 0)
            return std::nullopt;
        return text.part(begin, uregex_end(expression.get(), group, &status));
    }

    static UBool isInTime(const void* native)
    {
        return std::chrono::steady_clock::now() < static_cast<const Native*>(native)->end ? 1 : 0;
    }
};

NSRegularExpression::NSRegularExpression(std::unique_ptr<Native> native)
    : native(std::move(native))
{
}

NSRegularExpression::NSRegularExpression(NSRegularExpression&&) noexcept = default;
NSRegularExpression& NSRegularExpression::operator=(NSRegularExpression&&) noexcept = default;
NSRegularExpression::~NSRegularExpression() = default;

std::expected<NSRegularExpression, Error> NSRegularExpression::compile(
    std::string_view pattern, Options options)
{
    const auto failed = [](UErrorCode status) {
        return std::unexpected(Error{"LumoKit.NSRegularExpression", status, u_errorName(status)});
    };
    const Units units(pattern);
    if (!units.isReadable() || !isUTF8(pattern))
        return failed(U_INVALID_CHAR_FOUND);
    UErrorCode status = U_ZERO_ERROR;
    const std::uint32_t flags = options == Options::caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0;
    auto native = std::make_unique<Native>();
    native->expression.reset(uregex_open(units.data(), units.size(), flags, nullptr, &status));
    uregex_setTimeLimit(native->expression.get(), mostChoices, &status);
    uregex_setStackLimit(
        native->expression.get(), mayReferBack(pattern) ? mostMemoryWithBackReference : mostMemory, &status);
    uregex_setMatchCallback(
        native->expression.get(),
        [](const void* context, std::int32_t) -> UBool { return Native::isInTime(context); }, native.get(),
        &status);
    uregex_setFindProgressCallback(
        native->expression.get(),
        [](const void* context, std::int64_t) -> UBool { return Native::isInTime(context); }, native.get(),
        &status);
    if (U_FAILURE(status))
        return failed(status);
    return NSRegularExpression(std::move(native));
}

bool NSRegularExpression::hasMatch(std::string_view text, std::size_t length)
{
    const Units units(text);
    if (!native->begin(units))
        return false;
    UErrorCode status = U_ZERO_ERROR;
    const auto end = std::min(length, static_cast<std::size_t>(units.size()));
    uregex_setRegion(native->expression.get(), 0, static_cast<std::int32_t>(end), &status);
    return U_SUCCESS(status) && native->find();
}

bool NSRegularExpression::matchesWhole(std::string_view text)
{
    const Units units(text);
    if (!native->begin(units))
        return false;
    UErrorCode status = U_ZERO_ERROR;
    return uregex_matches(native->expression.get(), -1, &status) && U_SUCCESS(status);
}

std::vector<std::string_view> NSRegularExpression::matches(std::string_view text)
{
    std::vector<std::string_view> found;
    Units units(text);
    if (native->begin(units))
        while (native->find())
            found.push_back(*native->part(units, 0));
    return found;
}

std::vector<std::optional<std::string_view>> NSRegularExpression::firstMatch(std::string_view text)
{
    std::vector<std::optional<std::string_view>> parts;
    Units units(text);
    if (!native->begin(units) || !native->find())
        return parts;
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t groups = uregex_groupCount(native->expression.get(), &status);
    for (std::int32_t group = 0; group <= groups; ++group)
        parts.push_back(native->part(units, group));
    return parts;
}

} // namespace LumoKit
