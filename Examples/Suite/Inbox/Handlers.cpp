#include "Handlers.h"

namespace LumoSuite {

using namespace LumoKit;

namespace {

std::string textOf(const Value& value)
{
    const auto* text = value.asText();
    return text ? *text : "";
}

class InboxReadyHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "inboxReady"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        if (const auto conversations = body["conversations"].asInteger())
            inbox.inboxReady(*conversations,
                {textOf(body["owner"]["name"]), textOf(body["owner"]["address"]),
                    textOf(body["owner"]["image"])});
    }
};

class SignInShownHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "signInShown"; }
    void handleMessage(const std::string&, const Value&, const HasInbox& inbox) override
    {
        inbox.signInShown();
    }
};

class UnreadCountHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "unreadCount"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        if (const auto count = body.asInteger(); count && *count >= 0)
            inbox.unreadCountChanged(*count);
    }
};

class ConversationOpenedHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "conversationOpened"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        if (body["id"].asText() && body["subject"].asText())
            inbox.conversationOpened({*body["id"].asText(), *body["subject"].asText(), textOf(body["from"])});
    }
};

class ConversationDoneHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "conversationDone"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        const auto done = body["done"].asBoolean();
        if (body["id"].asText() && done)
            inbox.conversationDone(*body["id"].asText(), *done);
    }
};

class ComposeOpenedHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "composeOpened"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        inbox.composeOpened(textOf(body["subject"]));
    }
};

class InjectedHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "injected"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        inbox.scriptInjected(textOf(body));
    }
};

class MailSentHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "mailSent"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        inbox.mailSent(textOf(body));
    }
};

class PaintedHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "painted"; }
    void handleMessage(const std::string&, const Value&, const HasInbox& inbox) override
    {
        inbox.pagePainted();
    }
};

class SchemeChangedHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "schemeChanged"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        inbox.schemeChanged(textOf(body));
    }
};

class PageErrorHandler : public ScriptMessageHandler<HasInbox> {
    [[nodiscard]] std::string messageName() const override { return "pageError"; }
    void handleMessage(const std::string&, const Value& body, const HasInbox& inbox) override
    {
        inbox.pageFailed(
            textOf(body["message"]), textOf(body["source"]), body["line"].asInteger().value_or(0));
    }
};

} // namespace

std::vector<std::shared_ptr<AnyScriptMessageHandler>> makeInboxHandlers()
{
    return {std::make_shared<InboxReadyHandler>(), std::make_shared<SignInShownHandler>(),
        std::make_shared<UnreadCountHandler>(), std::make_shared<ConversationOpenedHandler>(),
        std::make_shared<ConversationDoneHandler>(), std::make_shared<ComposeOpenedHandler>(),
        std::make_shared<MailSentHandler>(), std::make_shared<InjectedHandler>(),
        std::make_shared<PaintedHandler>(), std::make_shared<SchemeChangedHandler>(),
        std::make_shared<PageErrorHandler>()};
}

} // namespace LumoSuite
