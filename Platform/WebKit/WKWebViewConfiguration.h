#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/WebKit/WKProcessPool.h>
#include <LumoKit/Platform/WebKit/WKURLSchemeHandler.h>
#include <LumoKit/Platform/WebKit/WKUserContentController.h>
#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>

#include <map>
#include <memory>
#include <string>

namespace LumoKit {

/// What web views are made from. A view reads its configuration when it is made; a later change has no effect
/// on it.
///
/// Thread: the main thread.
class WKWebViewConfiguration : public NSObject {
public:
    WKWebViewConfiguration();

    [[nodiscard]] const std::shared_ptr<WKUserContentController>& userContentController() const
    {
        return controller;
    }
    void setUserContentController(std::shared_ptr<WKUserContentController> userContentController);

    /// One that all configurations share, unless another is set.
    [[nodiscard]] const std::shared_ptr<WKProcessPool>& processPool() const { return pool; }
    void setProcessPool(std::shared_ptr<WKProcessPool> processPool);

    /// Where the view's pages keep their cookies and their other data: the default store, unless another is set.
    [[nodiscard]] std::shared_ptr<WKWebsiteDataStore> websiteDataStore() const;
    void setWebsiteDataStore(std::shared_ptr<WKWebsiteDataStore> websiteDataStore);

    /// Lets `handler` answer what pages ask for under `scheme`. Such a page has an origin of its own, made of
    /// scheme and host, and counts as secure.
    /// Errors: stops the process for a text that is no scheme, one that the engine handles itself, and one
    /// that has a handler.
    void setURLSchemeHandler(std::shared_ptr<WKURLSchemeHandler> handler, const std::string& forURLScheme);
    /// Null for a scheme without one. Schemes are compared without regard to letter case.
    [[nodiscard]] std::shared_ptr<WKURLSchemeHandler> urlSchemeHandler(const std::string& forURLScheme) const;
    [[nodiscard]] const std::map<std::string, std::shared_ptr<WKURLSchemeHandler>>& urlSchemeHandlers() const
    {
        return schemeHandlers;
    }

    /// Whether the page's context menu offers the developer tools.
    bool developerExtrasEnabled = false;

private:
    std::shared_ptr<WKUserContentController> controller;
    std::shared_ptr<WKProcessPool> pool;
    std::shared_ptr<WKWebsiteDataStore> store; // null for the default one, which is opened when it is needed
    std::map<std::string, std::shared_ptr<WKURLSchemeHandler>> schemeHandlers;
};

} // namespace LumoKit
