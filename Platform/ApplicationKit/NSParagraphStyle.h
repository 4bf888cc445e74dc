#pragma once

namespace LumoKit {

enum class NSTextAlignment { left, right, center, justified, natural };

enum class NSLineBreakMode {
    byWordWrapping,
    byCharWrapping,
    byClipping,
    byTruncatingHead,
    byTruncatingTail,
    byTruncatingMiddle
};

/// How a paragraph is set. A style that is part of a text is held by `std::shared_ptr` to a constant one.
/// Units: points.
class NSParagraphStyle {
public:
    NSTextAlignment alignment = NSTextAlignment::natural;
    NSLineBreakMode lineBreakMode = NSLineBreakMode::byWordWrapping;
    double lineSpacing = 0;
    double paragraphSpacing = 0;
    double firstLineHeadIndent = 0;
    double headIndent = 0;
    double tailIndent = 0;

    bool operator==(const NSParagraphStyle&) const = default;
};

/// A style that is still being put together.
class NSMutableParagraphStyle : public NSParagraphStyle { };

} // namespace LumoKit
