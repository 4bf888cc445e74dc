#pragma once

#include "NSImageNative.h"

#include <LumoKit/Platform/ApplicationKit/CALayer.h>

namespace LumoKit::detail {

/// Paints the background of a layer.
class LayerBackground {
public:
    /// Paints all of a view. `scale` is that of the screen, in pixels a point.
    void paint(cairo_t* onto, const CALayer& layer, double width, double height, double scale);

private:
    // An image as it was painted last; it is decoded once, not at every frame.
    CairoSurface tile;
    std::shared_ptr<const NSImage> tileImage;
    double tileScale = 0;
};

} // namespace LumoKit::detail
