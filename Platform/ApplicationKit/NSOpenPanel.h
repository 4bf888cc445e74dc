#pragma once

#include <LumoKit/Platform/ApplicationKit/NSModalResponse.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace LumoKit {

class NSWindow;

/// Lets the user choose files, folders, or both.
///
/// Where both can be chosen, a folder is chosen by selecting it and confirming, and entered by a double click;
/// where folders alone can be chosen, the one that is shown counts while none is selected.
///
/// Ownership: made by `std::make_shared`; it keeps itself while it is on screen.
/// Thread: the main thread.
class NSOpenPanel : public NSObject {
public:
    NSOpenPanel();
    ~NSOpenPanel() override;

    /// If neither files nor folders can be chosen, the panel lets choose files.
    bool canChooseFiles = true;
    bool canChooseDirectories = false;
    bool allowsMultipleSelection = false;
    /// The folder that the panel shows first; without one, that of the last choice of this application.
    std::optional<URL> directoryURL;

    using CompletionHandler = std::move_only_function<void(NSModalResponse)>;

    /// Puts the panel up as a sheet and returns. The handler is called once, after the sheet has gone, with
    /// `NSModalResponseOK` or `NSModalResponseCancel`; the latter also when the window goes. A sheet waits for those
    /// that are up on its window already.
    /// Errors: stops the process if the panel is up already.
    void beginSheetModal(const std::shared_ptr<NSWindow>& forWindow, CompletionHandler completionHandler);

    /// Puts the panel up and returns when it has been answered; meanwhile all windows of the application are blocked.
    /// Errors: stops the process if the panel is up already.
    NSModalResponse runModal();

    /// What the user chose, in the order of the list; empty unless the panel was confirmed.
    [[nodiscard]] const std::vector<URL>& urls() const { return chosen; }

private:
    struct Screen;
    void build();
    void confirm();
    std::unique_ptr<Screen> screen; // while the panel is up
    std::vector<URL> chosen;
};

} // namespace LumoKit
