#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <functional>

namespace LumoKit {

/// Two small buttons, side by side, that make a number smaller and larger. A button that is held goes on; the arrow keys do
/// it, too, while the stepper has the keyboard. The number itself is shown by whoever uses it. The buttons are in the middle
/// of the frame, as wide as they are; where it is too small they stand out from it.
///
/// Thread: the main thread.
class NSStepper : public NSView {
public:
    explicit NSStepper(const CGRect& frame = {});
    /// As an interface file describes it: what every view has, "minValue", "maxValue", "increment", "value" and "valueWraps".
    explicit NSStepper(const NSCoder& coder);

    /// 0 at first. A number beyond an end becomes that end.
    [[nodiscard]] double doubleValue() const;
    /// Does not do the action.
    void setDoubleValue(double value);

    /// 0 at first.
    [[nodiscard]] double minValue() const;
    void setMinValue(double value);
    /// 59 at first.
    [[nodiscard]] double maxValue() const;
    void setMaxValue(double value);
    /// 1 at first.
    [[nodiscard]] double increment() const;
    void setIncrement(double increment);
    /// Whether a step beyond one end goes on from the other; true at first.
    [[nodiscard]] bool valueWraps() const;
    void setValueWraps(bool wraps);

    [[nodiscard]] bool isEnabled() const;
    void setEnabled(bool enabled);

    /// What the user's steps do.
    /// Ownership: the stepper keeps it; what it captures of the stepper itself must be weak.
    void setAction(std::function<void(NSStepper&)> action);
};

} // namespace LumoKit
