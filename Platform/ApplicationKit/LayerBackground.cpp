#include "LayerBackground.h"

#include <memory>
#include <variant>

namespace LumoKit {

void CALayer::setBackgroundColor(std::optional<CGColor> backgroundColor)
{
    color = std::move(backgroundColor);
    if (changed)
        changed();
}

void detail::LayerBackground::paint(
    cairo_t* onto, const CALayer& layer, double width, double height, double scale)
{
    const auto& background = layer.backgroundColor();
    if (!background)
        return;
    cairo_save(onto);
    cairo_rectangle(onto, 0, 0, width, height);
    if (const auto* color = std::get_if<NSColor>(&*background)) {
        cairo_set_source_rgba(
            onto, color->redComponent, color->greenComponent, color->blueComponent, color->alphaComponent);
        cairo_fill(onto);
    } else if (const auto& image = std::get<std::shared_ptr<const NSImage>>(*background)) {
        if (image != tileImage || scale != tileScale) {
            tile = drawableSurface(*image, scale);
            tileImage = image;
            tileScale = scale;
        }
        if (tile) { // else it cannot be decoded
            const std::unique_ptr<cairo_pattern_t, FreedBy<cairo_pattern_destroy>> pattern(
                cairo_pattern_create_for_surface(tile.get()));
            cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_REPEAT);
            cairo_matrix_t fromBottomLeft;
            cairo_matrix_init_translate(&fromBottomLeft, 0, image->size().height - height);
            cairo_pattern_set_matrix(pattern.get(), &fromBottomLeft);
            cairo_set_source(onto, pattern.get());
            cairo_fill(onto);
        }
    }
    cairo_restore(onto);
}

} // namespace LumoKit
