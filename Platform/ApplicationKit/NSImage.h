#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <memory>

namespace LumoKit {

/// A picture that is drawn at a size in points, as sharp as the screen allows. It never changes.
///
/// Thread: any.
class NSImage : public NSObject {
public:
    /// The picture in an image file (JPEG, PNG, GIF or WebP), a point for each pixel. Its pixels are decoded when they are
    /// drawn or worked on, at the size that is needed then; of a moving picture, GIF's, it is the first.
    ///
    /// Errors: null for anything else, for a picture of more than 25 million pixels, and for a file whose head is damaged.
    /// One that is damaged further on, or cut off, draws nothing.
    [[nodiscard]] static std::shared_ptr<NSImage> create(Data fileContents);
    /// The same of bytes that others keep, too.
    [[nodiscard]] static std::shared_ptr<NSImage> create(std::shared_ptr<const Data> fileContents);

    ~NSImage() override;

    /// Units: points.
    [[nodiscard]] const CGSize& size() const;

    struct Native;
    /// The platform's side of the image, for the platform layer itself.
    explicit NSImage(std::unique_ptr<const Native> native);
    [[nodiscard]] const Native& nativeImage() const { return *native; }

private:
    const std::unique_ptr<const Native> native;
};

} // namespace LumoKit
