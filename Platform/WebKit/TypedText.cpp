#include "TypedText.h"

// An input method that knows one text.

struct LumoTypedText {
    WebKitInputMethodContext base;
    char* text;
};
struct LumoTypedTextClass {
    WebKitInputMethodContextClass base;
};

namespace {

G_DEFINE_TYPE(LumoTypedText, lumo_typed_text, WEBKIT_TYPE_INPUT_METHOD_CONTEXT)

LumoTypedText* typed(gpointer object)
{
    return static_cast<LumoTypedText*>(object);
}

gboolean type(WebKitInputMethodContext* context, GdkEventKey* key) noexcept
{
    if (key->type != GDK_KEY_PRESS)
        return FALSE;
    g_signal_emit_by_name(context, "preedit-started");
    g_signal_emit_by_name(context, "committed", typed(context)->text);
    g_signal_emit_by_name(context, "preedit-finished");
    return TRUE;
}

void tellNothing(WebKitInputMethodContext*, char** text, GList** underlines, guint* caret) noexcept
{
    if (text)
        *text = g_strdup("");
    if (underlines)
        *underlines = nullptr;
    if (caret)
        *caret = 0;
}

void ignore(WebKitInputMethodContext*) noexcept
{
}

void finalize(GObject* object) noexcept
{
    g_free(typed(object)->text);
    G_OBJECT_CLASS(lumo_typed_text_parent_class)->finalize(object);
}

void lumo_typed_text_init(LumoTypedText*)
{
}

void lumo_typed_text_class_init(LumoTypedTextClass* made)
{
    G_OBJECT_CLASS(made)->finalize = &finalize;
    auto* method = &made->base;
    method->filter_key_event = &type;
    method->get_preedit = &tellNothing;
    method->notify_focus_in = &ignore;
    method->notify_focus_out = &ignore;
    method->reset = &ignore;
}

} // namespace

namespace LumoKit::detail {

TypedText::TypedText(WebKitWebView* view, const std::string& text)
    : view(ObjectPtr<WebKitWebView>::retain(view))
    , usual(ObjectPtr<WebKitInputMethodContext>::retain(webkit_web_view_get_input_method_context(view)))
{
    const auto typing = ObjectPtr<WebKitInputMethodContext>::adopt(
        static_cast<WebKitInputMethodContext*>(g_object_new(lumo_typed_text_get_type(), nullptr)));
    typed(typing.get())->text = g_strndup(text.data(), text.size());
    webkit_web_view_set_input_method_context(view, typing.get());
}

TypedText::~TypedText()
{
    webkit_web_view_set_input_method_context(view.get(), usual.get());
}

NoInputMethod::NoInputMethod(WebKitWebView* view)
    : view(ObjectPtr<WebKitWebView>::retain(view))
    , usual(ObjectPtr<WebKitInputMethodContext>::retain(webkit_web_view_get_input_method_context(view)))
{
    webkit_web_view_set_input_method_context(view, nullptr);
}

NoInputMethod::~NoInputMethod()
{
    webkit_web_view_set_input_method_context(view.get(), usual.get());
}

} // namespace LumoKit::detail
