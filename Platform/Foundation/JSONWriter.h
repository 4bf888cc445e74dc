#pragma once

#include <LumoKit/Platform/Foundation/CodingError.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <utility>

namespace LumoKit::detail {

/// Appends a text in JSON's quotes, as short as the form allows.
void appendJSONText(std::string& out, std::string_view text);

/// Writes one compact JSON text, piece by piece. After a failure what was written is of no use.
/// Source: RFC 8259.
class JSONWriter {
public:
    using Written = std::expected<void, CodingFailure>;

    void null() { literal("null"); }
    void boolean(bool value) { literal(value ? "true" : "false"); }
    void integer(std::int64_t value);
    /// In the shortest form that reads as the same number; a whole number below 2 to the 53rd without a
    /// fraction or an exponent.
    [[nodiscard]] Written number(double value);
    [[nodiscard]] Written text(std::string_view value);

    /// Writes an array, each item through `writeItem(item)`.
    template <class Items, class WriteItem>
    [[nodiscard]] Written array(const Items& items, const WriteItem& writeItem)
    {
        return nested('[', ']', [&]() -> Written {
            std::size_t index = 0;
            for (const auto& item : items) {
                Written written = hasRoom() ? writeItem(item) : tooLarge();
                if (!written)
                    return std::unexpected(std::move(written.error()).within(index));
                ++index;
            }
            return {};
        });
    }

    /// Writes a dictionary, the content of which is that of the calls of `entry` that `writeEntries()` makes.
    template <class WriteEntries> [[nodiscard]] Written dictionary(const WriteEntries& writeEntries)
    {
        return nested('{', '}', writeEntries);
    }
    template <class WriteValue>
    [[nodiscard]] Written entry(std::string_view key, const WriteValue& writeValue)
    {
        Written written = hasRoom() ? name(key) : tooLarge();
        if (written)
            written = writeValue();
        if (!written)
            return std::unexpected(std::move(written.error()).within(key));
        return {};
    }

    /// What was written, once.
    [[nodiscard]] std::string finish() { return std::move(out); }

private:
    template <class Content> Written nested(char open, char close, const Content& content)
    {
        if (depth == Value::maximumDepth)
            return std::unexpected(CodingFailure(EncodingError::tooDeep, "nested too deep"));
        ++depth;
        separate();
        out += open;
        Written written = content();
        out += close;
        --depth;
        return written && !hasRoom() ? tooLarge() : written;
    }

    void separate();
    void literal(std::string_view word);
    [[nodiscard]] Written name(std::string_view key);
    [[nodiscard]] bool hasRoom() const;
    [[nodiscard]] static Written tooLarge();

    std::string out;
    int depth = 0;
};

} // namespace LumoKit::detail
