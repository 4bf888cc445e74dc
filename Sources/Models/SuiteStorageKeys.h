#pragma once

#include <LumoKit/Utility/RawRepresentable.h>

#include <array>
#include <string_view>
#include <utility>

namespace LumoKit {

/// What the applications of the suite keep in the preferences that they share, by the names of its keys.
enum class SuiteStorageKeys {
    /// The accounts that are known to the suite.
    accounts,
};

template <> struct RawValues<SuiteStorageKeys> {
    static constexpr auto cases = std::to_array<std::pair<SuiteStorageKeys, std::string_view>>(
        {{SuiteStorageKeys::accounts, "accounts"}});
};

} // namespace LumoKit
