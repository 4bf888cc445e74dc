#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace LumoSuite {

/// What a user does with an alert before the button.
struct PanelInput {
    std::string text; // for its field; nothing is entered if it is empty
    bool ticks = false; // its check box
};

/// Presses a button of the next alert that is on the screen, and calls `answered` with whether that came to be within ten
/// seconds, when the alert is gone.
///
/// Thread: the main thread.
void answerAlert(const std::string& button, PanelInput input, std::function<void(bool)> answered);

/// The same for an open panel, in which a file is chosen.
void chooseInOpenPanel(const std::filesystem::path& file, std::function<void(bool)> answered);

} // namespace LumoSuite
