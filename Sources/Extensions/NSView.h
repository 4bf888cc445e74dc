#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>

namespace LumoKit {

/// The colour of the view's layer; clear where there is no layer, or no colour in it.
/// Thread: the main thread.
[[nodiscard]] NSColor backgroundColor(const NSView& view);

/// Gives the view a layer, and leaves the colour as it is, whatever is passed: hosts rely on the layer, and draw their
/// colours themselves. `NSView::layer` takes a colour.
/// Thread: the main thread.
void setBackgroundColor(NSView& view, const NSColor& color);

} // namespace LumoKit
