#pragma once

namespace LumoKit {

/// A colour of the standard RGB space, not premultiplied.
/// Units: 0 to 1 for each component.
struct NSColor {
    double redComponent = 0;
    double greenComponent = 0;
    double blueComponent = 0;
    double alphaComponent = 1;

    bool operator==(const NSColor&) const = default;
};

} // namespace LumoKit
