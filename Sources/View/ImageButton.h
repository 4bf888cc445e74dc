#pragma once

#include <LumoKit/Platform/ApplicationKit/NSButton.h>

namespace LumoKit {

/// A button that is its image and nothing else. Its title, which is not shown, is what assistive software calls it.
///
/// Thread: the main thread.
class ImageButton : public NSButton {
public:
    explicit ImageButton(const CGRect& frame = {});
    explicit ImageButton(const NSCoder& coder);
};

} // namespace LumoKit
