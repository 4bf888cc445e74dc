#pragma once

#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSStepper.h>

#include <functional>
#include <memory>

namespace LumoKit {

/// Whether the button's state is on; a mixed one is not.
/// Thread: the main thread.
[[nodiscard]] bool isOn(const NSButton& button);

/// Makes the button's state on or off.
/// Thread: the main thread.
void setIsOn(NSButton& button, bool isOn);

/// What a control does: it gets the control, or nothing where nobody says who it was.
using ControlAction = std::function<void(const std::shared_ptr<NSObject>& sender)>;

/// Makes this the action of the control, in place of an earlier one.
///
/// Ownership: the control keeps it; what it captures of the control itself must be weak.
/// Thread: the main thread.
void onAction(NSButton& button, ControlAction action);
void onAction(NSStepper& stepper, ControlAction action);

} // namespace LumoKit
