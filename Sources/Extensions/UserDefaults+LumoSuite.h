#pragma once

#include <LumoKit/Platform/Foundation/UserDefaults.h>

#include <memory>
#include <string_view>

namespace LumoKit {

/// The name of the preferences domain that all applications of the suite share.
inline constexpr std::string_view lumoSuitePersistentDomainName = "com.lumosuite.shared";

/// The preferences that all applications of the suite share: a new object at each call, over the same values.
/// Errors: stops the process where the domain cannot be had, without which no application of the suite works.
/// Thread: any.
[[nodiscard]] std::shared_ptr<UserDefaults> lumoSuite();

} // namespace LumoKit
