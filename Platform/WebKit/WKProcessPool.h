#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <vector>

namespace LumoKit {

class WKWebView;

/// Views whose configurations share a pool and a data store share one process for their pages, which makes every
/// view after the first one cheap. A page that brings its process down takes the other pages of the pool with it: a host
/// that shows pages which must not share their fate gives them pools of their own.
///
/// Thread: the main thread.
class WKProcessPool : public NSObject {
private:
    friend class WKWebView;
    std::vector<WKWebView*> views; // each takes itself out when it is destroyed
};

} // namespace LumoKit
