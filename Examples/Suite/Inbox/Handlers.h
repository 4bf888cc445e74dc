#pragma once

#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <memory>
#include <vector>

namespace LumoSuite {

/// A conversation as its page tells of it.
struct Conversation {
    std::string id;
    std::string subject;
    std::string from;
};

/// Whose inbox it is.
struct Owner {
    std::string name;
    std::string address;
    std::string image; // a path on the service; empty for none
};

/// What the page's messages lead to; the application implements it.
class HasInbox : public virtual LumoKit::ServiceInterface {
public:
    virtual void inboxReady(std::int64_t conversations, const Owner& owner) const = 0;
    /// The page asks to sign in.
    virtual void signInShown() const = 0;
    virtual void unreadCountChanged(std::int64_t count) const = 0;
    virtual void conversationOpened(const Conversation& conversation) const = 0;
    virtual void conversationDone(const std::string& id, bool done) const = 0;
    virtual void composeOpened(const std::string& subject) const = 0;
    virtual void scriptInjected(const std::string& version) const = 0;
    virtual void mailSent(const std::string& subject) const = 0;
    virtual void pagePainted() const = 0;
    virtual void schemeChanged(const std::string& scheme) const = 0;
    virtual void pageFailed(
        const std::string& message, const std::string& source, std::int64_t line) const = 0;
};

/// One handler for each message of the page. A message whose body is not as agreed is dropped: the page is
/// not trusted.
[[nodiscard]] std::vector<std::shared_ptr<LumoKit::AnyScriptMessageHandler>> makeInboxHandlers();

} // namespace LumoSuite
