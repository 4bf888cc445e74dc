#include <LumoKit/Extensions/NSAttributedString.h>

namespace LumoKit {

NSAttributedString styled(const std::string& text, const NSAttributes& with)
{
    return NSAttributedString(text, with);
}

NSAttributedString composed(std::span<const NSAttributedString> of)
{
    NSMutableAttributedString whole;
    for (const NSAttributedString& part : of)
        whole.append(part);
    return whole;
}

NSAttributedString space()
{
    return NSAttributedString(" ");
}

NSAttributedString doubleSpace()
{
    return NSAttributedString("  ");
}

namespace {

std::shared_ptr<NSMutableParagraphStyle> aligned(NSTextAlignment alignment)
{
    auto style = std::make_shared<NSMutableParagraphStyle>();
    style->alignment = alignment;
    return style;
}

} // namespace

std::shared_ptr<NSMutableParagraphStyle> leftAligned()
{
    return aligned(NSTextAlignment::left);
}

std::shared_ptr<NSMutableParagraphStyle> rightAligned()
{
    return aligned(NSTextAlignment::right);
}

std::shared_ptr<NSMutableParagraphStyle> centerAligned()
{
    return aligned(NSTextAlignment::center);
}

} // namespace LumoKit
