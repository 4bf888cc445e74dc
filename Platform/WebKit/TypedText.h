#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <webkit2/webkit2.h>

#include <string>

namespace LumoKit::detail {

/// While this object lives, a key that is pressed in a view types a text of any length, as an input method would.
/// The toolkit's key events carry one code point; a joined emoji has many.
///
/// Thread: the main thread.
class TypedText {
public:
    TypedText(WebKitWebView* view, const std::string& text);
    TypedText(const TypedText&) = delete;
    TypedText& operator=(const TypedText&) = delete;
    ~TypedText();

private:
    const ObjectPtr<WebKitWebView> view;
    const ObjectPtr<WebKitInputMethodContext> usual;
};

/// While this object lives, a key that is pressed in a view goes past the input method.
///
/// Thread: the main thread.
class NoInputMethod {
public:
    explicit NoInputMethod(WebKitWebView* view);
    NoInputMethod(const NoInputMethod&) = delete;
    NoInputMethod& operator=(const NoInputMethod&) = delete;
    ~NoInputMethod();

private:
    const ObjectPtr<WebKitWebView> view;
    const ObjectPtr<WebKitInputMethodContext> usual;
};

} // namespace LumoKit::detail
