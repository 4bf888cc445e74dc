#pragma once

#include <LumoKit/Platform/Native/Handles.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace LumoKit::detail {

/// A text as the toolkit takes it: with replacement characters for what is no UTF-8 and for NUL.
[[nodiscard]] GText validText(std::string_view text);

inline constexpr std::size_t longestPanelText = 8000; // characters
inline constexpr std::size_t longestPanelTitle = 200;
inline constexpr std::size_t mostPanelLines = 300;

/// A text as a panel shows it, with "…" where it is cut. Texts of panels can come from a page or from the network;
/// beyond these bounds nobody reads on, and the window system has no surface that is high enough. A word of hundreds
/// of characters gets places where a line may break, because laying out takes the square of a word's length.
[[nodiscard]] std::string panelText(std::string_view text, std::size_t longest = longestPanelText);

} // namespace LumoKit::detail
