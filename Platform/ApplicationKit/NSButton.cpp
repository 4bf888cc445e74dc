#include "NSViewNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

namespace LumoKit {

namespace {

struct ButtonNative final : NSView::Native {
    ButtonNative()
        : Native((static_cast<void>(NSApplication::shared()),
              gtk_button_new())) // no widget before there is a display
    {
        gtk_widget_show(widget.get());
    }
    [[nodiscard]] GtkButton* button() const { return GTK_BUTTON(widget.get()); }

    detail::SignalConnection clicked;
};

ButtonNative& nativeOf(const NSButton& button)
{
    return static_cast<ButtonNative&>(button.nativeView());
}

} // namespace

NSButton::NSButton(const std::string& title, const CGRect& frame)
    : NSView(std::make_unique<ButtonNative>())
{
    nativeView().frame = frame;
    setTitle(title);
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

void NSButton::setAction(std::function<void(NSButton&)> action)
{
    auto& native = nativeOf(*this);
    native.clicked = {};
    if (!action)
        return;
    native.clicked = detail::SignalConnection::connect<void(GtkButton*)>(
        native.button(), "clicked", [this, action = std::move(action)](auto*) {
            const auto alive = shared_from_this(); // the action may remove the button
            action(*this);
        });
}

void NSButton::performClick()
{
    if (isEnabled())
        gtk_button_clicked(nativeOf(*this).button());
}

} // namespace LumoKit
