#pragma once

#include <LumoKit/Platform/ApplicationKit/NSAttributedString.h>

#include <string>

namespace LumoSuite {

/// A text with its attributes as HTML, for a page: what its stretches say of font, colour, underline and link, and the
/// alignment of the first one as that of all.
[[nodiscard]] std::string htmlOf(const LumoKit::NSAttributedString& text);

/// A colour as style sheets write it.
[[nodiscard]] std::string cssOf(const LumoKit::NSColor& color);

} // namespace LumoSuite
