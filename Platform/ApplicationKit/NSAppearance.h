#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace LumoKit {

/// The name of the light appearance.
inline constexpr const char* NSAppearanceNameAqua = "NSAppearanceNameAqua";
/// The name of the dark appearance.
inline constexpr const char* NSAppearanceNameDarkAqua = "NSAppearanceNameDarkAqua";

/// A way in which everything on screen is drawn, known by its name. It does not change.
///
/// Thread: any.
class NSAppearance : public NSObject {
public:
    /// Made by `std::make_shared`. A name other than the two above is that of an appearance of the host's own.
    explicit NSAppearance(std::string name)
        : name(std::move(name))
    {
    }

    const std::string name;

    /// The one of these names that comes closest to this appearance: its own name, where it is among them.
    /// Errors: nothing if none of them fits.
    [[nodiscard]] std::optional<std::string> bestMatch(
        const std::vector<std::string>& fromAppearancesWithNames) const;
};

} // namespace LumoKit
