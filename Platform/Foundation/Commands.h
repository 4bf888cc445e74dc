#pragma once

#include <filesystem>
#include <optional>

namespace LumoKit::detail {

/// Names the process that asks a command of the platform for something, in that command's environment.
inline constexpr const char* askingProcessVariable = "LUMOKIT_ASKED_BY";

/// The folder of the platform's own commands, which is installed with the library and found from it.
/// Errors: nothing where it is not there.
/// Thread: any.
[[nodiscard]] std::optional<std::filesystem::path> commandsFolder();

} // namespace LumoKit::detail
