#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/WebKit/WKUIDelegate.h>

#include <memory>

namespace LumoKit {

/// Lets the user choose the files that a page asks for, in a sheet on a window, and hands them on; nothing if the
/// user takes it back. For a host's `WKUIDelegate::runOpenPanel`.
/// Thread: the main thread.
void handleAttachmentUpload(const std::shared_ptr<NSWindow>& from, const WKOpenPanelParameters& parameters,
    WKUIDelegate::OpenPanelCompletion completionHandler);

} // namespace LumoKit
