#pragma once

#include "Support/Waiting.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSEvent.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/WebView/LMWebView.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

namespace LumoKit::Test {

/// A window with a page in it that has the keyboard and writes down the keys that it gets: "keydown(a)",
/// "input(a)", "keyup(a)", with "+ctrl", "+meta", "+alt", "+shift", "+repeat" and "+untrusted" before the ")".
/// It handles no key but Control, or Command, with P.
struct KeyPage {
    explicit KeyPage(NSWindow::StyleMask style = {})
    {
        window = NSWindow::create({{100, 100}, {600, 400}}, style);
        view =
            std::make_shared<LMWebView>(CGRect{{}, {600, 400}}, std::make_shared<WKWebViewConfiguration>());
        view->setNavigationDelegate(navigation);
        window->contentView()->addSubview(view);
        view->setAutoresizing(NSAutoresizing::sizable());
    }
    ~KeyPage()
    {
        NSApplication::shared().setMainMenu(nullptr);
        NSApplication::shared().setCommandKey(NSApplication::CommandKey::control);
        window->close();
    }
    KeyPage(const KeyPage&) = delete;
    KeyPage& operator=(const KeyPage&) = delete;

    /// On screen, loaded, and with the caret in its text field.
    [[nodiscard]] bool open()
    {
        window->makeKeyAndOrderFront();
        return load() && window->makeFirstResponder(view)
            && evaluate("t.focus(); String(document.activeElement == t)") == "true";
    }
    /// The same, and the desktop's keys go to it.
    [[nodiscard]] bool openWithKeyboard()
    {
        return open() && waitUntil([&] { return window->isKeyWindow(); });
    }

    [[nodiscard]] bool load()
    {
        navigation->events.clear();
        view->loadHTMLString(R"(<meta charset="utf-8"><textarea id="t" autofocus></textarea><script>
            log = [];
            const t = document.getElementById('t');
            for (const kind of ['keydown', 'keyup', 'input'])
                addEventListener(kind, e => {
                    log.push(kind + '(' + (e.key ?? e.data) + (e.ctrlKey ? '+ctrl' : '') + (e.metaKey ? '+meta' : '')
                        + (e.altKey ? '+alt' : '') + (e.shiftKey ? '+shift' : '') + (e.repeat ? '+repeat' : '')
                        + (e.isTrusted ? '' : '+untrusted') + ')');
                    if (kind == 'keydown' && e.key.toLowerCase() == 'p' && (e.ctrlKey || e.metaKey))
                        e.preventDefault();
                });
            </script>)",
            URL::parse("https://keys.example/"));
        return waitUntil([&] { return navigation->saw("finish"); });
    }

    [[nodiscard]] std::string evaluate(const std::string& script) const
    {
        std::optional<std::string> outcome;
        view->evaluateJavaScript(script, [&](std::optional<Value> result, std::optional<Error> error) {
            outcome = error ? error->description : result && result->asText() ? *result->asText() : "?";
        });
        return waitUntil([&] { return outcome.has_value(); }) ? *outcome : "it did not end";
    }
    /// What the page has written down, without modifier keys, once that ends with `last`.
    [[nodiscard]] std::string logUpTo(const std::string& last) const
    {
        std::string log;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        do {
            log = evaluate(
                "log.filter(e => "
                "!/\\((Control|Shift|Alt|AltGraph|Meta|Super|OS|CapsLock|NumLock)/.test(e)).join(' ')");
            runPendingTurns();
        } while (!log.ends_with(last) && std::chrono::steady_clock::now() < limit);
        return log;
    }
    [[nodiscard]] std::string text() const { return evaluate("t.value"); }
    void forget() const { static_cast<void>(evaluate("log = []; t.value = ''; ''")); }

    /// An application menu with one item for each key, which notes that it was chosen.
    void addItem(const std::string& title, const std::string& key,
        NSEvent::ModifierFlags mask = NSEvent::ModifierFlags::command)
    {
        if (!NSApplication::shared().mainMenu()) {
            const auto bar = std::make_shared<NSMenu>();
            const auto item = std::make_shared<NSMenuItem>("Application");
            menu = std::make_shared<NSMenu>("Application");
            item->setSubmenu(menu);
            bar->addItem(item);
            NSApplication::shared().setMainMenu(bar);
        }
        const auto item = std::make_shared<NSMenuItem>(
            title, [this](NSMenuItem& sender) { chosen += sender.title() + " "; }, key);
        item->setKeyEquivalentModifierMask(mask);
        menu->addItem(item);
    }

    std::shared_ptr<NSWindow> window;
    std::shared_ptr<LMWebView> view;
    std::shared_ptr<NSMenu> menu;
    std::string chosen; // titles of the items that were chosen
    std::shared_ptr<NavigationRecorder> navigation = std::make_shared<NavigationRecorder>();
};

} // namespace LumoKit::Test
