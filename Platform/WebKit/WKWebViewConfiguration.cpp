#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/WebKit/WKWebViewConfiguration.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace LumoKit {

namespace {

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

std::string lowercased(std::string text)
{
    for (char& character : text)
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    return text;
}

/// RFC 3986, section 3.1: scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." )
bool isScheme(std::string_view text)
{
    return !text.empty() && isLetter(text.front()) && std::ranges::all_of(text, [](char character) {
        return isLetter(character) || (character >= '0' && character <= '9') || character == '+'
            || character == '-' || character == '.';
    });
}

bool isHandledByEngine(std::string_view scheme)
{
    static constexpr std::array<std::string_view, 10> schemes = {
        "about", "blob", "data", "file", "ftp", "http", "https", "javascript", "ws", "wss"};
    return std::ranges::find(schemes, scheme) != schemes.end();
}

} // namespace

WKWebViewConfiguration::WKWebViewConfiguration()
    : controller(std::make_shared<WKUserContentController>())
{
    assertMainThread();
    static const auto sharedPool = std::make_shared<WKProcessPool>();
    pool = sharedPool;
}

void WKWebViewConfiguration::setUserContentController(
    std::shared_ptr<WKUserContentController> userContentController)
{
    controller = std::move(userContentController);
}

void WKWebViewConfiguration::setProcessPool(std::shared_ptr<WKProcessPool> processPool)
{
    pool = std::move(processPool);
}

std::shared_ptr<WKWebsiteDataStore> WKWebViewConfiguration::websiteDataStore() const
{
    return store ? store : WKWebsiteDataStore::defaultDataStore();
}

void WKWebViewConfiguration::setWebsiteDataStore(std::shared_ptr<WKWebsiteDataStore> websiteDataStore)
{
    store = std::move(websiteDataStore);
}

void WKWebViewConfiguration::setURLSchemeHandler(
    std::shared_ptr<WKURLSchemeHandler> handler, const std::string& forURLScheme)
{
    const std::string scheme = lowercased(forURLScheme);
    if (!isScheme(scheme))
        fatalError("'" + forURLScheme + "' is not a valid URL scheme");
    if (isHandledByEngine(scheme))
        fatalError("'" + forURLScheme + "' is a URL scheme that WKWebView handles natively");
    if (!schemeHandlers.emplace(scheme, std::move(handler)).second)
        fatalError("URL scheme '" + forURLScheme + "' already has a registered URL scheme handler");
}

std::shared_ptr<WKURLSchemeHandler> WKWebViewConfiguration::urlSchemeHandler(
    const std::string& forURLScheme) const
{
    const auto found = schemeHandlers.find(lowercased(forURLScheme));
    return found == schemeHandlers.end() ? nullptr : found->second;
}

} // namespace LumoKit
