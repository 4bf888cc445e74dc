#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <memory>

namespace LumoKit {

class NSImage;

/// A view that repeats an image all over itself, from its bottom left corner on.
///
/// Thread: the main thread.
class BackgroundView : public NSView {
public:
    explicit BackgroundView(const CGRect& frame = {});
    explicit BackgroundView(const NSCoder& coder);

    /// Null at first.
    [[nodiscard]] const std::shared_ptr<const NSImage>& backgroundImage() const { return image; }
    /// None makes the view black.
    void setBackgroundImage(std::shared_ptr<const NSImage> image);

    /// All of the view is drawn again.
    void setFrame(const CGRect& frame) override;

private:
    std::shared_ptr<const NSImage> image;
};

} // namespace LumoKit
