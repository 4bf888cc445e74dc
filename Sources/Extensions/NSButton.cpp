#include <LumoKit/Extensions/NSButton.h>

#include <utility>

namespace LumoKit {

namespace {

constexpr const char* trampolineKey = "lm_action_trampoline";

/// The target of a control, which does not keep its target: the trampoline is attached to it.
struct ActionTrampoline {
    ControlAction handler;

    void performAction(const std::shared_ptr<NSObject>& sender) const
    {
        if (handler)
            handler(sender);
    }
};

template <class Control> void install(Control& control, ControlAction action)
{
    const auto trampoline = std::make_shared<ActionTrampoline>(std::move(action));
    control.setAction([target = std::weak_ptr(trampoline)](Control& sender) {
        if (const auto alive = target.lock()) // also while its action takes another one
            alive->performAction(sender.shared_from_this());
    });
    control.setAssociatedObject(trampolineKey, trampoline);
}

} // namespace

bool isOn(const NSButton& button)
{
    return button.state() == NSControlStateValue::on;
}

void setIsOn(NSButton& button, bool isOn)
{
    button.setState(isOn ? NSControlStateValue::on : NSControlStateValue::off);
}

void onAction(NSButton& button, ControlAction action)
{
    install(button, std::move(action));
}

void onAction(NSStepper& stepper, ControlAction action)
{
    install(stepper, std::move(action));
}

} // namespace LumoKit
