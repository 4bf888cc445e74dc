#pragma once

#include <string>

namespace LumoSuite {

/// A name for any text, which a file may have: the text itself where it is plain, and otherwise a checksum, so that
/// no text leaves its folder, none is too long, and those that differ in letter case alone stay apart on every file
/// system. It has lower-case letters, digits, "-" and "_" only.
/// Thread: any.
[[nodiscard]] std::string entryName(const std::string& text);

} // namespace LumoSuite
