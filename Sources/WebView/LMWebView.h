#pragma once

#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/Utility/KeyCodes.h>
#include <LumoKit/Utility/URLConvertible.h>

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace LumoKit {

/// The web view in which a host shows its web application: it swallows the keys that it is told to, leaves Command and
/// comma to the menus, and paints nothing behind the page, from its first frame on.
///
/// Thread: the main thread.
class LMWebView : public WKWebView {
public:
    /// Made by `std::make_shared`.
    LMWebView(const CGRect& frame, const std::shared_ptr<WKWebViewConfiguration>& configuration);
    /// From an archive of interface objects. Errors: null, as there is none on this platform.
    [[nodiscard]] static std::shared_ptr<LMWebView> create(NSCoder& coder);
    /// Says so in the system's log.
    ~LMWebView() override;

    /// Keys that neither the page nor the menus get, while the view is in the window that has the keyboard. Read at
    /// each press.
    std::vector<KeyCode> keyCodesToSilence;

    /// Whether there is white behind the page where it paints nothing; false at first.
    [[nodiscard]] bool lm_drawsBackground() const;
    void lm_setDrawsBackground(bool draws);

    /// How large the page is shown. Units: 1 is its own size.
    [[nodiscard]] double _pageZoomFactor() const;
    void _setPageZoomFactor(double factor);

    /// Takes a silenced key, leaves Command and comma, and offers all others to the page.
    bool performKeyEquivalent(const NSEvent& with) override;
};

namespace detail {

/// The name of the platform's property behind `lm_drawsBackground`, by the version of the application framework. What
/// is written to the one or the other is the same.
[[nodiscard]] const char* drawsBackgroundKey(double appKitVersion);

void load(WKWebView& webView, const std::optional<URL>& url, const std::string& description);

[[nodiscard]] std::string nameOf(const std::type_info& type);

/// How a log names what is no URL: a text by itself, a URL by its address, a type of a host's by its own
/// `description`, if there is one, and else by its name.
template <URLConvertible T> std::string descriptionOf(const T& convertible)
{
    if constexpr (std::convertible_to<const T&, std::string_view>)
        return std::string(std::string_view(convertible));
    else if constexpr (requires { std::string(convertible.absoluteString()); })
        return std::string(convertible.absoluteString());
    else if constexpr (requires { std::string(convertible.description()); })
        return std::string(convertible.description());
    else
        return nameOf(typeid(T));
}

} // namespace detail

/// Loads what converts to a URL, giving the server sixty seconds to answer. What does not is printed, and the page stays.
void load(WKWebView& webView, const URLConvertible auto& convertible)
{
    detail::load(webView, asURL(convertible), detail::descriptionOf(convertible));
}

} // namespace LumoKit
