#include "NSViewNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

namespace LumoKit {

namespace {

constexpr const char* borderless = R"(
    button {
        padding: 0; margin: 0; border: none; min-width: 0; min-height: 0;
        background: none; box-shadow: none; text-shadow: none; -gtk-icon-shadow: none; outline-offset: -1px;
    }
    button:active { opacity: 0.6; }
    button:disabled { opacity: 0.4; }
)";

GtkPositionType placeOf(NSCellImagePosition position)
{
    switch (position) {
    case NSCellImagePosition::imageRight:
        return GTK_POS_RIGHT;
    case NSCellImagePosition::imageBelow:
        return GTK_POS_BOTTOM;
    case NSCellImagePosition::imageAbove:
        return GTK_POS_TOP;
    default:
        return GTK_POS_LEFT;
    }
}

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

    /// Shows the title and the image as they are to be.
    void show()
    {
        const bool onlyImage = position == NSCellImagePosition::imageOnly;
        GtkWidget* shown = nullptr;
        if (image && position != NSCellImagePosition::noImage)
            if (const auto surface =
                    detail::drawableSurface(*image, gtk_widget_get_scale_factor(widget.get())))
                shown = gtk_image_new_from_surface(surface.get());
        // Told of no label and no image the toolkit leaves what is there.
        gtk_button_set_label(button(), !onlyImage ? title.c_str() : shown ? nullptr : "");
        gtk_button_set_image_position(button(), placeOf(position));
        gtk_button_set_always_show_image(button(), shown != nullptr);
        gtk_button_set_image(button(), shown);
        // Assistive software reads the title, shown or not.
        atk_object_set_name(gtk_widget_get_accessible(widget.get()), title.c_str());
    }

    std::string title;
    std::shared_ptr<const NSImage> image;
    NSCellImagePosition position = NSCellImagePosition::noImage;
    detail::ObjectPtr<GtkCssProvider> style; // null with a border
    detail::SignalConnection rescaled;
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
    native.rescaled = detail::SignalConnection::connect<void(GtkWidget*, GParamSpec*)>(
        native.button(), "notify::scale-factor", [&native](auto*, auto*) { native.show(); });
    if (GtkToggleButton* box = native.checkBox())
        native.toggled = detail::SignalConnection::connect<void(GtkToggleButton*)>(box, "toggled",
            [](GtkToggleButton* clicked) { gtk_toggle_button_set_inconsistent(clicked, FALSE); });
}

NSButton::NSButton(const NSCoder& coder)
    : NSButton(Kind::push, coder.decodeString("title"), {})
{
    decode(coder);
    const auto file = Bundle::main().path(coder.decodeString("image"), "");
    if (const auto bytes = file ? readFile(*file) : std::nullopt) {
        const auto* first = reinterpret_cast<const std::byte*>(bytes->data());
        setImage(NSImage::create(Data(first, first + bytes->size())));
        setImagePosition(title().empty() ? NSCellImagePosition::imageOnly : NSCellImagePosition::imageLeft);
    }
}

std::shared_ptr<NSButton> NSButton::checkbox(const std::string& withTitle, const CGRect& frame)
{
    return std::shared_ptr<NSButton>(new NSButton(Kind::check, withTitle, frame));
}

std::string NSButton::title() const
{
    return nativeOf(*this).title;
}

void NSButton::setTitle(const std::string& title)
{
    nativeOf(*this).title = title;
    nativeOf(*this).show();
}

std::shared_ptr<const NSImage> NSButton::image() const
{
    return nativeOf(*this).image;
}

void NSButton::setImage(std::shared_ptr<const NSImage> image)
{
    nativeOf(*this).image = std::move(image);
    nativeOf(*this).show();
}

NSCellImagePosition NSButton::imagePosition() const
{
    return nativeOf(*this).position;
}

void NSButton::setImagePosition(NSCellImagePosition position)
{
    nativeOf(*this).position = position;
    nativeOf(*this).show();
}

bool NSButton::isBordered() const
{
    return !nativeOf(*this).style;
}

void NSButton::setBordered(bool bordered)
{
    auto& native = nativeOf(*this);
    if (bordered == isBordered())
        return;
    GtkStyleContext* context = gtk_widget_get_style_context(native.widget.get());
    if (bordered) {
        gtk_style_context_remove_provider(context, GTK_STYLE_PROVIDER(native.style.get()));
        native.style = {};
        return;
    }
    native.style = detail::ObjectPtr<GtkCssProvider>::adopt(gtk_css_provider_new());
    gtk_css_provider_load_from_data(native.style.get(), borderless, -1, nullptr);
    gtk_style_context_add_provider(
        context, GTK_STYLE_PROVIDER(native.style.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
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
