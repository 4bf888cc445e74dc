#include "Help/AttributedHtml.h"

#include <LumoKit/Platform/ApplicationKit/NSParagraphStyle.h>

#include <cmath>
#include <string_view>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Key = NSAttributedStringKey;

std::string escaped(std::string_view text)
{
    std::string html;
    for (const char letter : text)
        switch (letter) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        default:
            html += letter;
        }
    return html;
}

/// The value of an attribute; null where there is none of this type.
template <class T> const T* attribute(const NSAttributes& attributes, Key key)
{
    const auto found = attributes.find(key);
    return found == attributes.end() ? nullptr : std::get_if<T>(&found->second);
}

std::string styleOf(const NSAttributes& attributes)
{
    std::string style;
    if (const auto* font = attribute<NSFont>(attributes, Key::font))
        style +=
            std::string(font->bold ? "font-weight:600;" : "") + (font->italic ? "font-style:italic;" : "");
    if (const auto* color = attribute<NSColor>(attributes, Key::foregroundColor))
        style += "color:" + cssOf(*color) + ";";
    if (const auto* underline = attribute<int>(attributes, Key::underlineStyle); underline && *underline != 0)
        style += "text-decoration:underline;";
    return style;
}

std::string_view alignmentOf(const NSAttributedString& text)
{
    const auto* paragraph = attribute<NSParagraphStyleAttribute>(text.attributes(0), Key::paragraphStyle);
    switch (paragraph && paragraph->style ? paragraph->style->alignment : NSTextAlignment::natural) {
    case NSTextAlignment::left:
        return "left";
    case NSTextAlignment::right:
        return "right";
    case NSTextAlignment::center:
        return "center";
    case NSTextAlignment::justified:
        return "justify";
    default:
        return "start";
    }
}

} // namespace

std::string cssOf(const NSColor& color)
{
    const auto byte = [](double component) { return std::to_string(std::lround(component * 255)); };
    return "rgba(" + byte(color.redComponent) + "," + byte(color.greenComponent) + ","
        + byte(color.blueComponent) + "," + std::to_string(color.alphaComponent) + ")";
}

std::string htmlOf(const NSAttributedString& text)
{
    std::string html = "<span style=\"display:block;text-align:" + std::string(alignmentOf(text)) + "\">";
    std::size_t position = 0;
    for (const auto& run : text.runs()) {
        const std::string words = escaped(std::string_view(text.string()).substr(position, run.length));
        const auto* link = attribute<URL>(run.attributes, Key::link);
        html += link ? "<a href=\"" + escaped(link->absoluteString()) + "\"" : "<span";
        html += " style=\"" + styleOf(run.attributes) + "\">" + words + (link ? "</a>" : "</span>");
        position += run.length;
    }
    return html + "</span>";
}

} // namespace LumoSuite
