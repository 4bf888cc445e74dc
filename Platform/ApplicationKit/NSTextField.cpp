#include "NSViewNative.h"
#include "PanelText.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>

namespace LumoKit {

namespace {

struct TextFieldNative final : NSView::Native {
    TextFieldNative()
        : Native((static_cast<void>(NSApplication::shared()),
              gtk_entry_new())) // no widget before there is a display
    {
        gtk_entry_set_activates_default(entry(), TRUE); // Return is the panel's, not the field's
        g_object_set(entry(), "truncate-multiline", TRUE, nullptr); // pasted lines
        const auto style = detail::ObjectPtr<GtkCssProvider>::adopt(gtk_css_provider_new());
        gtk_css_provider_load_from_data(
            style.get(), "entry { min-height: 0; padding-top: 0; padding-bottom: 0; }", -1, nullptr);
        gtk_style_context_add_provider(gtk_widget_get_style_context(widget.get()),
            GTK_STYLE_PROVIDER(style.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        gtk_widget_show(widget.get());
    }
    [[nodiscard]] GtkEntry* entry() const { return GTK_ENTRY(widget.get()); }
};

GtkEntry* entryOf(const NSTextField& field)
{
    return static_cast<TextFieldNative&>(field.nativeView()).entry();
}

} // namespace

NSTextField::NSTextField(const CGRect& frame)
    : NSView(std::make_unique<TextFieldNative>())
{
    nativeView().frame = frame;
}

NSTextField::NSTextField(const NSCoder& coder)
    : NSTextField()
{
    decode(coder);
    setStringValue(coder.decodeString("value"));
}

std::string NSTextField::stringValue() const
{
    return gtk_entry_get_text(entryOf(*this));
}

void NSTextField::setStringValue(const std::string& text)
{
    gtk_entry_set_text(entryOf(*this), detail::validText(text).get());
}

} // namespace LumoKit
