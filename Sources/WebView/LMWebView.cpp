#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Foundation/NSLog.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/WebView/LMWebView.h>

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>

namespace LumoKit {

namespace {

constexpr const char* pageZoomFactorKey = "pageZoomFactor";

const char* backgroundKey()
{
    return detail::drawsBackgroundKey(NSAppKitVersionNumber);
}

} // namespace

const char* detail::drawsBackgroundKey(double appKitVersion)
{
    return appKitVersion > 1500.0 ? "drawsBackground" : "drawsTransparentBackground";
}

LMWebView::LMWebView(const CGRect& frame, const std::shared_ptr<WKWebViewConfiguration>& configuration)
    : WKWebView(frame, configuration)
{
    lm_setDrawsBackground(false);
}

std::shared_ptr<LMWebView> LMWebView::create(NSCoder&)
{
    return nullptr;
}

LMWebView::~LMWebView()
{
    NSLog("[LMWebView] deinit");
}

bool LMWebView::lm_drawsBackground() const
{
    return value(backgroundKey()).asBoolean().value_or(false);
}

void LMWebView::lm_setDrawsBackground(bool draws)
{
    setValue(draws, backgroundKey());
}

double LMWebView::_pageZoomFactor() const
{
    return value(pageZoomFactorKey).asNumber().value_or(1.0);
}

void LMWebView::_setPageZoomFactor(double factor)
{
    setValue(factor, pageZoomFactorKey);
}

bool LMWebView::performKeyEquivalent(const NSEvent& with)
{
    const bool silenced = std::ranges::any_of(
        keyCodesToSilence, [&](const KeyCode& key) { return key.matches(with.keyCode, with.modifierFlags); });
    if (silenced)
        return true;
    if (with.modifierFlags.contains(NSEvent::ModifierFlags::command)
        && with.keyCode == KeyCode::comma.rawValue)
        return false;
    return WKWebView::performKeyEquivalent(with);
}

std::string detail::nameOf(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, decltype([](char* text) { std::free(text); })> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status));
    return name ? name.get() : type.name();
}

void detail::load(WKWebView& webView, const std::optional<URL>& url, const std::string& description)
{
    if (url)
        webView.load(URLRequest(*url));
    else
        print("Cannot load '" + description + "', it does not convert to a valid url");
}

} // namespace LumoKit
