#pragma once

#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoSuite {

/// The suite's accounts in a menu, each with its picture, and an item to add one.
///
/// Thread: the main thread.
class AccountMenu {
public:
    using Report = std::function<void(const std::string&)>;
    /// Told the address of the account that the user chooses; empty to add one.
    using Chosen = std::function<void(const std::string& address)>;

    AccountMenu(Chosen chosen, Report report);

    /// Lists the accounts that there are now, with that of an address as the chosen one; the item to add one where it is
    /// none of them.
    void update(const std::string& address);

    [[nodiscard]] const std::shared_ptr<LumoKit::NSPopUpButton>& button() const { return menu; }

private:
    const Report report;
    const std::shared_ptr<LumoKit::NSPopUpButton> menu;
};

} // namespace LumoSuite
