#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>
#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace LumoKit {

/// What a layer is painted with: a colour, or an image that is repeated from the bottom left corner on.
using CGColor = std::variant<NSColor, std::shared_ptr<const NSImage>>;

/// What is painted behind the contents of a view: see `NSView::setWantsLayer`.
///
/// Thread: the main thread.
class CALayer : public NSObject {
public:
    /// Nothing at first: what is behind the view is seen.
    [[nodiscard]] const std::optional<CGColor>& backgroundColor() const { return color; }
    void setBackgroundColor(std::optional<CGColor> backgroundColor);

private:
    friend class NSView;
    std::optional<CGColor> color;
    std::function<void()> changed; // as long as a view has the layer
};

} // namespace LumoKit
