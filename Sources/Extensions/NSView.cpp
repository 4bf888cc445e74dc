#include <LumoKit/Extensions/NSView.h>
#include <LumoKit/Platform/ApplicationKit/CALayer.h>

#include <variant>

namespace LumoKit {

NSColor backgroundColor(const NSView& view)
{
    constexpr NSColor clear{0, 0, 0, 0};
    if (!view.layer() || !view.layer()->backgroundColor())
        return clear;
    const auto* color = std::get_if<NSColor>(&*view.layer()->backgroundColor());
    return color ? *color : clear; // an image is no colour
}

void setBackgroundColor(NSView& view, const NSColor&)
{
    view.setWantsLayer(true);
    const auto& painted = view.layer()->backgroundColor();
    if (!painted || std::holds_alternative<NSColor>(*painted)) // no colour stands for an image
        view.layer()->setBackgroundColor(backgroundColor(view));
}

} // namespace LumoKit
