#include "Support/Waiting.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using testing::ElementsAre;

namespace {

class NSPopUpButtonTest : public ::testing::Test {
protected:
    NSPopUpButtonTest() { static_cast<void>(NSApplication::shared()); }

    std::shared_ptr<NSPopUpButton> watched()
    {
        auto button = std::make_shared<NSPopUpButton>(std::vector<std::string>{"Green", "Black", "Oolong"});
        button->setAction([this](NSPopUpButton& chosen) { choices.push_back(chosen.titleOfSelectedItem()); });
        return button;
    }

    std::vector<std::string> choices;
};

TEST_F(NSPopUpButtonTest, ShowsTheFirstItemToBeginWith)
{
    const auto button = std::make_shared<NSPopUpButton>(
        std::vector<std::string>{"Green", "_Black & <strong>"}, CGRect{{1, 2}, {90, 40}});
    EXPECT_EQ(button->frame(), (CGRect{{1, 2}, {90, 40}}));
    EXPECT_EQ(button->numberOfItems(), 2);
    EXPECT_EQ(button->indexOfSelectedItem(), 0);
    EXPECT_EQ(button->titleOfSelectedItem(), "Green");
    button->selectItem(1);
    EXPECT_EQ(button->titleOfSelectedItem(), "_Black & <strong>");
}

TEST_F(NSPopUpButtonTest, ChoosesNothingWhereThereIsNothing)
{
    const auto button = std::make_shared<NSPopUpButton>(std::vector<std::string>{});
    EXPECT_EQ(button->indexOfSelectedItem(), -1);
    EXPECT_EQ(button->titleOfSelectedItem(), "");
    for (const std::int64_t index : {std::int64_t(-1), std::int64_t(3), std::int64_t(1) << 32}) {
        const auto filled = watched();
        filled->performActionForItem(index);
        EXPECT_EQ(filled->indexOfSelectedItem(), 0);
        filled->selectItem(index);
        EXPECT_EQ(filled->indexOfSelectedItem(), -1);
    }
    EXPECT_THAT(choices, ElementsAre());
}

TEST_F(NSPopUpButtonTest, TellsWhatTheUserChoseAndNotWhatTheProgramDid)
{
    const auto button = watched();
    button->selectItem(1);
    EXPECT_THAT(choices, ElementsAre());
    gtk_combo_box_set_active(GTK_COMBO_BOX(gtkWidget(*button)), 2);
    EXPECT_THAT(choices, ElementsAre("Oolong"));
    button->performActionForItem(0);
    EXPECT_THAT(choices, ElementsAre("Oolong", "Green"));
    button->setAction(nullptr);
    button->performActionForItem(1);
    EXPECT_THAT(choices, ElementsAre("Oolong", "Green"));
}

TEST_F(NSPopUpButtonTest, SurvivesAnActionThatLetsGoOfIt)
{
    auto button = std::make_shared<NSPopUpButton>(std::vector<std::string>{"Green", "Black"});
    button->setAction([&](NSPopUpButton& chosen) {
        button.reset();
        choices.push_back(chosen.titleOfSelectedItem());
    });
    const std::weak_ptr watched = button;
    button->performActionForItem(1);
    EXPECT_THAT(choices, ElementsAre("Black"));
    EXPECT_TRUE(LumoKit::Test::waitUntil([&] { return watched.expired(); }));
}

} // namespace
