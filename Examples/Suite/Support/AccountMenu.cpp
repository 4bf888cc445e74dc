#include "Support/AccountMenu.h"

#include "Support/SharedAccounts.h"

#include <LumoKit/Utility/AccountImageDownload.h>

namespace LumoSuite {

using namespace LumoKit;

AccountMenu::AccountMenu(Chosen chosen, Report report)
    : report(std::move(report))
    , menu(std::make_shared<NSPopUpButton>(std::vector<std::string>()))
{
    menu->setAction([chosen = std::move(chosen)](NSPopUpButton& button) {
        const auto shared = sharedAccounts();
        const auto index = static_cast<std::size_t>(button.indexOfSelectedItem());
        chosen(index < shared.size() ? shared[index].email() : "");
    });
}

void AccountMenu::update(const std::string& address)
{
    menu->removeAllItems();
    std::int64_t chosen = -1;
    for (const Account& account : sharedAccounts()) {
        if (account.email() == address)
            chosen = menu->numberOfItems();
        menu->addItem(account.fullname());
        if (!account.imageURL())
            continue;
        AccountImageDownloader::fetchProfileImageForAccountMenu(*account.imageURL(),
            [report = report, weak = std::weak_ptr(menu), title = account.fullname(),
                index = menu->numberOfItems() - 1](const std::shared_ptr<NSImage>& image) {
                if (const auto alive = weak.lock(); alive && image) {
                    alive->setImage(image, index);
                    report("avatar shown: " + title);
                }
            });
    }
    menu->addItem("Add Account…");
    menu->selectItem(chosen < 0 ? menu->numberOfItems() - 1 : chosen);
}

} // namespace LumoSuite
