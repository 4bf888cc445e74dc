#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/WebKit/WKURLSchemeHandler.h>

#include <webkit2/webkit2.h>

namespace LumoKit {

/// The platform's side of a scheme task. The engine wants the whole answer as one stream, so that data is
/// gathered.
struct WKURLSchemeTask::Native {
    detail::ObjectPtr<WebKitURISchemeRequest> request;
    URL url;
    std::string method;
    Response response;
    std::string body;
    bool ended = false;
};

} // namespace LumoKit
