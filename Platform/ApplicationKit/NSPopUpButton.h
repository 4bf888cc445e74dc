#pragma once

#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace LumoKit {

/// A button that shows the chosen one of several items, and all of them in a menu.
///
/// Thread: the main thread.
class NSPopUpButton : public NSView {
public:
    /// The first item is the chosen one.
    explicit NSPopUpButton(const std::vector<std::string>& titles, const CGRect& frame = {});

    void addItem(const std::string& withTitle);
    /// Shows a picture before an item's title; none for null. Nothing for an index that there is not.
    void setImage(const std::shared_ptr<NSImage>& image, std::int64_t forItemAt);
    void removeAllItems();
    [[nodiscard]] std::int64_t numberOfItems() const;
    /// Counted from zero; -1 where there is none.
    [[nodiscard]] std::int64_t indexOfSelectedItem() const;
    /// Nothing where none is chosen.
    [[nodiscard]] std::string titleOfSelectedItem() const;

    /// Chooses an item without telling the action; none for an index that there is not.
    void selectItem(std::int64_t at);

    /// What follows when the user has chosen another item.
    /// Ownership: the button keeps it; what it captures of the button itself must be weak.
    void setAction(std::function<void(NSPopUpButton&)> action);

    /// Does what the choice of an item by the user does.
    void performActionForItem(std::int64_t at);
};

} // namespace LumoKit
