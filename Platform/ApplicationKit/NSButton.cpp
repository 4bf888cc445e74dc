#include "NSViewNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

namespace LumoKit {

namespace {

struct ButtonNative final : NSView::Native {
    explicit ButtonNative(GtkWidget* made)
        : Native(made)
    {
        gtk_widget_show(widget.get());
    }
    [[nodiscard]] GtkButton* button() const { return GTK_BUTTON(widget.get()); }
    /// Null for a push button.
    [[nodiscard]] GtkToggleButton* checkBox() const
    {
        return GTK_IS_TOGGLE_BUTTON(widget.get()) ? GTK_TOGGLE_BUTTON(widget.get()) : nullptr;
    }

    NSControlStateValue state = NSControlStateValue::off; // of a push button
    bool settingState = false;
    detail::SignalConnection toggled;
    detail::SignalConnection clicked;
};

ButtonNative& nativeOf(const NSButton& button)
{
    return static_cast<ButtonNative&>(button.nativeView());
}

} // namespace

NSButton::NSButton(const std::string& title, const CGRect& frame)
    : NSButton(Kind::push, title, frame)
{
}

NSButton::NSButton(Kind kind, const std::string& title, const CGRect& frame)
    : NSView([kind] {
        static_cast<void>(NSApplication::shared()); // no widget before there is a display
        return std::make_unique<ButtonNative>(kind == Kind::push ? gtk_button_new() : gtk_check_button_new());
    }())
{
    auto& native = nativeOf(*this);
    native.frame = frame;
    setTitle(title);
    if (GtkToggleButton* box = native.checkBox())
        native.toggled = detail::SignalConnection::connect<void(GtkToggleButton*)>(box, "toggled",
            [](GtkToggleButton* clicked) { gtk_toggle_button_set_inconsistent(clicked, FALSE); });
}

std::shared_ptr<NSButton> NSButton::checkbox(const std::string& withTitle, const CGRect& frame)
{
    return std::shared_ptr<NSButton>(new NSButton(Kind::check, withTitle, frame));
}

std::string NSButton::title() const
{
    return gtk_button_get_label(nativeOf(*this).button());
}

void NSButton::setTitle(const std::string& title)
{
    gtk_button_set_label(nativeOf(*this).button(), title.c_str());
}

bool NSButton::isEnabled() const
{
    return gtk_widget_get_sensitive(nativeView().widget.get());
}

void NSButton::setEnabled(bool enabled)
{
    gtk_widget_set_sensitive(nativeView().widget.get(), enabled);
}

NSControlStateValue NSButton::state() const
{
    const auto& native = nativeOf(*this);
    GtkToggleButton* box = native.checkBox();
    if (!box)
        return native.state;
    if (gtk_toggle_button_get_inconsistent(box))
        return NSControlStateValue::mixed;
    return gtk_toggle_button_get_active(box) ? NSControlStateValue::on : NSControlStateValue::off;
}

void NSButton::setState(NSControlStateValue state)
{
    auto& native = nativeOf(*this);
    native.state = state;
    GtkToggleButton* box = native.checkBox();
    if (!box)
        return;
    native.settingState = true; // GTK tells of this as of a click
    gtk_toggle_button_set_active(box, state == NSControlStateValue::on);
    gtk_toggle_button_set_inconsistent(box, state == NSControlStateValue::mixed);
    native.settingState = false;
}

void NSButton::setAction(std::function<void(NSButton&)> action)
{
    auto& native = nativeOf(*this);
    native.clicked = {};
    if (!action)
        return;
    native.clicked = detail::SignalConnection::connect<void(GtkButton*)>(
        native.button(), "clicked", [this, action = std::move(action)](auto*) {
            const auto alive = shared_from_this(); // the action may remove the button
            if (!nativeOf(*this).settingState)
                action(*this);
        });
}

void NSButton::performClick()
{
    if (isEnabled())
        gtk_button_clicked(nativeOf(*this).button());
}

} // namespace LumoKit
