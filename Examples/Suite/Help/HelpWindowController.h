#pragma once

#include "Help/HelpViewController.h"

#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>

#include <memory>

namespace LumoSuite {

/// The help window, which the interface file "Help" describes.
///
/// Thread: the main thread.
class HelpWindowController : public LumoKit::NSWindowController {
public:
    /// Opens one.
    [[nodiscard]] static std::shared_ptr<HelpWindowController> open(
        const std::shared_ptr<const HelpServices>& services);

    [[nodiscard]] std::shared_ptr<HelpViewController> help() const
    {
        return std::dynamic_pointer_cast<HelpViewController>(contentViewController());
    }
};

} // namespace LumoSuite
