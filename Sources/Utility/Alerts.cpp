#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/UserDefaults.h>
#include <LumoKit/Utility/Alerts.h>

#include <utility>
#include <vector>

namespace LumoKit {

namespace {

std::shared_ptr<NSAlert> warning(
    std::string title, std::string message, const std::vector<std::string>& buttonTitles)
{
    auto alert = std::make_shared<NSAlert>();
    alert->alertStyle = NSAlert::Style::warning;
    alert->messageText = std::move(title);
    alert->informativeText = std::move(message);
    for (const std::string& buttonTitle : buttonTitles)
        alert->addButton(buttonTitle);
    return alert;
}

void present(
    NSAlert& alert, const AlertPresentationStyle& style, std::move_only_function<void(NSModalResponse)> ended)
{
    if (style.window())
        alert.beginSheetModal(style.window(), std::move(ended));
    else
        ended(alert.runModal());
}

std::optional<std::string> enteredText(const std::shared_ptr<NSView>& accessoryView)
{
    const auto field = std::dynamic_pointer_cast<NSTextField>(accessoryView);
    return field ? std::optional(field->stringValue()) : std::nullopt;
}

} // namespace

AlertPresentationStyle AlertPresentationStyle::sheet(std::shared_ptr<NSWindow> window)
{
    if (!window)
        fatalError("a sheet needs a window");
    AlertPresentationStyle style;
    style.window_ = std::move(window);
    return style;
}

AlertPresentationStyle AlertPresentationStyle::modal()
{
    return {};
}

void showAlert(std::string title, std::string message, std::string buttonTitle, AlertPresentationStyle style,
    std::move_only_function<void()> completion)
{
    DispatchQueue::main()->async(
        [title = std::move(title), message = std::move(message), buttonTitle = std::move(buttonTitle),
            style = std::move(style), completion = std::move(completion)]() mutable {
            const auto alert = warning(std::move(title), std::move(message), {std::move(buttonTitle)});
            present(*alert, style, [completion = std::move(completion)](NSModalResponse) mutable {
                if (completion)
                    completion();
            });
        });
}

void askConfirmation(std::string title, std::string message, std::string confirmButtonTitle,
    std::string cancelButtonTitle, std::optional<AlertSuppressionInfo> suppressionInfo,
    AlertPresentationStyle style, std::move_only_function<void(bool)> completion)
{
    // Any value silences, not just true: what stands there may have been set by an older version, or by hand.
    if (suppressionInfo && !UserDefaults::standard()->value(suppressionInfo->key).isNull())
        return completion(true);
    DispatchQueue::main()->async(
        [title = std::move(title), message = std::move(message), confirm = std::move(confirmButtonTitle),
            cancel = std::move(cancelButtonTitle), suppressionInfo = std::move(suppressionInfo),
            style = std::move(style), completion = std::move(completion)]() mutable {
            const auto alert =
                warning(std::move(title), std::move(message), {std::move(confirm), std::move(cancel)});
            if (suppressionInfo) {
                alert->showsSuppressionButton = true;
                alert->suppressionButton()->setTitle(suppressionInfo->message);
            }
            present(*alert, style,
                [alert, suppressionInfo = std::move(suppressionInfo), completion = std::move(completion)](
                    NSModalResponse response) mutable {
                    // Also without a confirmation: whoever ticks the box does not want to be asked.
                    if (suppressionInfo && alert->suppressionButton()->state() == NSControlStateValue::on)
                        UserDefaults::standard()->setValue(true, suppressionInfo->key);
                    completion(response == NSAlertFirstButtonReturn);
                });
        });
}

void showError(Error error)
{
    DispatchQueue::main()->async(
        [error = std::move(error)] { std::make_shared<NSAlert>(error)->runModal(); });
}

void showTextInputAlert(const std::string& message, const AlertPresentationStyle& style,
    std::move_only_function<void(std::optional<std::string>)> completion)
{
    const auto alert = std::make_shared<NSAlert>();
    alert->informativeText = message;
    alert->addButton("OK");
    alert->addButton("Cancel");
    alert->accessoryView = std::make_shared<NSTextField>(CGRect{{0, 0}, {200, 24}});
    present(*alert, style, [alert, completion = std::move(completion)](NSModalResponse response) mutable {
        completion(response == NSAlertFirstButtonReturn ? enteredText(alert->accessoryView) : std::nullopt);
    });
}

void showThreeButtonPopup(std::string title, std::string message, std::string firstButtonTitle,
    std::string secondButtonTitle, std::string thirdButtonTitle,
    std::move_only_function<void(std::size_t)> completion)
{
    DispatchQueue::main()->async(
        [title = std::move(title), message = std::move(message), first = std::move(firstButtonTitle),
            second = std::move(secondButtonTitle), third = std::move(thirdButtonTitle),
            completion = std::move(completion)]() mutable {
            const auto alert = warning(std::move(title), std::move(message),
                {std::move(first), std::move(second), std::move(third)});
            switch (alert->runModal()) {
            case NSAlertFirstButtonReturn:
                return completion(0);
            case NSAlertSecondButtonReturn:
                return completion(1);
            case NSAlertThirdButtonReturn:
                return completion(2);
            default:
                return; // nothing was chosen
            }
        });
}

} // namespace LumoKit
