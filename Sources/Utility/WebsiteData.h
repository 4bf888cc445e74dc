#pragma once

#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>

#include <functional>

namespace LumoKit::detail {

/// Removes all data of all pages from a store; `completion` is called once, on the main thread, after that.
/// Thread: the main thread.
void removeWebsiteData(WKWebsiteDataStore& from, std::function<void()> completion);

} // namespace LumoKit::detail
