#include <LumoKit/Platform/ApplicationKit/NSOpenPanel.h>
#include <LumoKit/WebView/Attachments.h>

#include <optional>
#include <utility>

namespace LumoKit {

void handleAttachmentUpload(const std::shared_ptr<NSWindow>& from, const WKOpenPanelParameters& parameters,
    WKUIDelegate::OpenPanelCompletion completionHandler)
{
    const auto panel = std::make_shared<NSOpenPanel>();
    panel->allowsMultipleSelection = parameters.allowsMultipleSelection;
    panel->canChooseDirectories = parameters.allowsDirectories;
    panel->canChooseFiles = true;
    panel->beginSheetModal(
        from, [panel, completion = std::move(completionHandler)](NSModalResponse response) {
            completion(response == NSModalResponseOK ? std::optional(panel->urls()) : std::nullopt);
        });
}

} // namespace LumoKit
