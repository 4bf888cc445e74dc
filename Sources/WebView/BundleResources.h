#pragma once

#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/WebKit/WKURLSchemeHandler.h>

#include <memory>

namespace LumoKit {

/// Serves a bundle's resources under a scheme of the host's own, so that a page that is shipped with the
/// application has an origin, and with it storage and modules, which a page from a file has not:
///
///     configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), "app");
///     view->load(*URL::parse("app://host/index.html"));
///
/// The path of an address is the path of a resource, "/" is "/index.html"; what is missing or outside of the
/// resources is answered with the status 404.
///
/// Thread: the main thread.
class BundleResources : public WKURLSchemeHandler {
public:
    explicit BundleResources(Bundle bundle)
        : bundle(std::move(bundle))
    {
    }

    void start(WKWebView& webView, const std::shared_ptr<WKURLSchemeTask>& task) override;

private:
    const Bundle bundle;
};

} // namespace LumoKit
