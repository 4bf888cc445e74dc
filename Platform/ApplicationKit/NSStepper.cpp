#include "NSViewNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSStepper.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>

#include <utility>

namespace LumoKit {

namespace {

/// The toolkit's spin button without its field: so it has keys, repetition, and a value for assistive software.
constexpr const char* withoutField = R"(
    spinbutton { min-height: 0; }
    spinbutton entry { min-width: 0; min-height: 0; padding: 0; caret-color: transparent; }
    spinbutton button.down { border-left: none; }
    spinbutton button { min-width: 16px; min-height: 0; padding: 0 4px; }
)";

struct StepperNative final : NSView::Native {
    StepperNative()
        : Native((static_cast<void>(NSApplication::shared()), // no widget before there is a display
              GTK_WIDGET(g_object_new(GTK_TYPE_SPIN_BUTTON, nullptr))))
    {
        // Nothing is written into the field, and nothing that is typed there counts.
        text = detail::SignalConnection::connect<gboolean(GtkSpinButton*)>(
            spin(), "output", [](GtkSpinButton* button) -> gboolean {
                if (*gtk_entry_get_text(GTK_ENTRY(button)))
                    gtk_entry_set_text(GTK_ENTRY(button), "");
                return TRUE;
            });
        typed = detail::SignalConnection::connect<int(GtkSpinButton*, double*)>(
            spin(), "input", [](GtkSpinButton* button, double* value) -> int {
                *value = gtk_adjustment_get_value(gtk_spin_button_get_adjustment(button));
                return TRUE;
            });
        keepsItsWidth = true; // more would show the field, and of less the toolkit complains
        gtk_entry_set_width_chars(GTK_ENTRY(spin()), 0);
        gtk_entry_set_max_width_chars(GTK_ENTRY(spin()), 0);
        gtk_entry_set_max_length(GTK_ENTRY(spin()), 1);
        gtk_spin_button_set_range(spin(), 0, 59);
        gtk_spin_button_set_increments(spin(), 1, 10);
        gtk_spin_button_set_wrap(spin(), TRUE);
        style = detail::ObjectPtr<GtkCssProvider>::adopt(gtk_css_provider_new());
        gtk_css_provider_load_from_data(style.get(), withoutField, -1, nullptr);
        gtk_style_context_add_provider(gtk_widget_get_style_context(widget.get()),
            GTK_STYLE_PROVIDER(style.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        gtk_widget_show(widget.get());
    }
    [[nodiscard]] GtkSpinButton* spin() const { return GTK_SPIN_BUTTON(widget.get()); }

    detail::ObjectPtr<GtkCssProvider> style;
    detail::SignalConnection text;
    detail::SignalConnection typed;
    detail::SignalConnection changed;
    bool setting = false; // not the user, but whoever calls the stepper
};

StepperNative& nativeOf(const NSStepper& stepper)
{
    return static_cast<StepperNative&>(stepper.nativeView());
}

/// Does something to a stepper that is no step of the user.
template <class Change> void quietly(const NSStepper& stepper, Change change)
{
    auto& native = nativeOf(stepper);
    const bool before = std::exchange(native.setting, true);
    change(native.spin());
    native.setting = before;
}

} // namespace

NSStepper::NSStepper(const CGRect& frame)
    : NSView(std::make_unique<StepperNative>())
{
    nativeView().frame = frame;
}

NSStepper::NSStepper(const NSCoder& coder)
    : NSStepper()
{
    decode(coder);
    if (coder.containsValue("maxValue"))
        setMaxValue(coder.decodeDouble("maxValue"));
    setMinValue(coder.decodeDouble("minValue"));
    if (coder.containsValue("increment"))
        setIncrement(coder.decodeDouble("increment"));
    if (coder.containsValue("valueWraps"))
        setValueWraps(coder.decodeBool("valueWraps"));
    setDoubleValue(coder.decodeDouble("value"));
}

double NSStepper::doubleValue() const
{
    return gtk_spin_button_get_value(nativeOf(*this).spin());
}

void NSStepper::setDoubleValue(double value)
{
    quietly(*this, [value](GtkSpinButton* spin) { gtk_spin_button_set_value(spin, value); });
}

double NSStepper::minValue() const
{
    double least = 0;
    gtk_spin_button_get_range(nativeOf(*this).spin(), &least, nullptr);
    return least;
}

void NSStepper::setMinValue(double value)
{
    quietly(*this, [&](GtkSpinButton* spin) { gtk_spin_button_set_range(spin, value, maxValue()); });
}

double NSStepper::maxValue() const
{
    double most = 0;
    gtk_spin_button_get_range(nativeOf(*this).spin(), nullptr, &most);
    return most;
}

void NSStepper::setMaxValue(double value)
{
    quietly(*this, [&](GtkSpinButton* spin) { gtk_spin_button_set_range(spin, minValue(), value); });
}

double NSStepper::increment() const
{
    double step = 0;
    gtk_spin_button_get_increments(nativeOf(*this).spin(), &step, nullptr);
    return step;
}

void NSStepper::setIncrement(double increment)
{
    gtk_spin_button_set_increments(nativeOf(*this).spin(), increment, 10 * increment);
}

bool NSStepper::valueWraps() const
{
    return gtk_spin_button_get_wrap(nativeOf(*this).spin());
}

void NSStepper::setValueWraps(bool wraps)
{
    gtk_spin_button_set_wrap(nativeOf(*this).spin(), wraps);
}

bool NSStepper::isEnabled() const
{
    return gtk_widget_get_sensitive(nativeView().widget.get());
}

void NSStepper::setEnabled(bool enabled)
{
    gtk_widget_set_sensitive(nativeView().widget.get(), enabled);
}

void NSStepper::setAction(std::function<void(NSStepper&)> action)
{
    auto& native = nativeOf(*this);
    native.changed = {};
    if (!action)
        return;
    native.changed = detail::SignalConnection::connect<void(GtkSpinButton*)>(
        native.spin(), "value-changed", [this, action = std::move(action)](auto*) {
            if (nativeOf(*this).setting)
                return;
            // The action may remove the stepper, and the toolkit goes on with its buttons after that.
            DispatchQueue::main()->async([alive = shared_from_this()] { });
            action(*this);
        });
}

} // namespace LumoKit
