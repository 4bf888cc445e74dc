#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>
#include <LumoKit/Platform/ApplicationKit/NSParagraphStyle.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace LumoKit {

/// A typeface at a size.
/// Units: points. An empty family is the desktop's own.
struct NSFont {
    std::string family;
    double pointSize = 0;
    bool bold = false;
    bool italic = false;

    bool operator==(const NSFont&) const = default;
};

/// A paragraph style as an attribute: shared, compared by what it says.
struct NSParagraphStyleAttribute {
    std::shared_ptr<const NSParagraphStyle> style;

    bool operator==(const NSParagraphStyleAttribute& other) const
    {
        return style == other.style || (style && other.style && *style == *other.style);
    }
};

/// What a stretch of text can be given.
enum class NSAttributedStringKey {
    font,
    foregroundColor,
    backgroundColor,
    paragraphStyle,
    underlineStyle,
    link
};

using NSAttributeValue = std::variant<NSFont, NSColor, NSParagraphStyleAttribute, int, URL>;
using NSAttributes = std::map<NSAttributedStringKey, NSAttributeValue>;

/// A text whose stretches have attributes.
///
/// Units of positions and lengths: bytes of the UTF-8 text.
class NSAttributedString {
public:
    /// A stretch of text with the same attributes throughout.
    struct Run {
        std::size_t length = 0;
        NSAttributes attributes;

        bool operator==(const Run&) const = default;
    };

    NSAttributedString() = default;
    explicit NSAttributedString(std::string text, NSAttributes attributes = {});

    [[nodiscard]] const std::string& string() const { return text; }
    [[nodiscard]] std::size_t length() const { return text.size(); }

    /// The stretches from the beginning to the end; neighbours differ in their attributes.
    [[nodiscard]] const std::vector<Run>& runs() const { return stretches; }

    /// The attributes of the byte at `index`; none beyond the end.
    [[nodiscard]] const NSAttributes& attributes(std::size_t at) const;

    bool operator==(const NSAttributedString&) const = default;

protected:
    void appendText(const NSAttributedString& other);

private:
    std::string text;
    std::vector<Run> stretches;
};

/// An attributed string that can grow.
class NSMutableAttributedString : public NSAttributedString {
public:
    using NSAttributedString::NSAttributedString;

    /// Adds `other` at the end, each part with its own attributes.
    void append(const NSAttributedString& other) { appendText(other); }
};

} // namespace LumoKit
