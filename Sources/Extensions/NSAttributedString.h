#pragma once

#include <LumoKit/Platform/ApplicationKit/NSAttributedString.h>
#include <LumoKit/Platform/ApplicationKit/NSParagraphStyle.h>

#include <memory>
#include <span>
#include <string>

namespace LumoKit {

/// `text` with the given attributes over its whole length.
[[nodiscard]] NSAttributedString styled(const std::string& text, const NSAttributes& with);

/// All of the strings one after the other, each with its own attributes.
[[nodiscard]] NSAttributedString composed(std::span<const NSAttributedString> of);

/// One blank, and two blanks, without attributes.
[[nodiscard]] NSAttributedString space();
[[nodiscard]] NSAttributedString doubleSpace();

/// A new style with nothing but its alignment set, at each call.
[[nodiscard]] std::shared_ptr<NSMutableParagraphStyle> leftAligned();
[[nodiscard]] std::shared_ptr<NSMutableParagraphStyle> rightAligned();
[[nodiscard]] std::shared_ptr<NSMutableParagraphStyle> centerAligned();

} // namespace LumoKit
