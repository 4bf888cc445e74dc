#pragma once

#include <LumoKit/MailTo/MailToParser.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <functional>
#include <memory>
#include <vector>

namespace LumoKit {

/// Receives the `mailto:` links that the desktop sends to the application, and keeps them until the host takes
/// them.
///
/// A host takes one link at a time, as it comes, and keeps those for which it is not ready itself: see
/// `handleMailTo` for what becomes of several that wait here.
///
/// Thread: the main thread; nothing is locked.
class MailToManager : public NSObject {
public:
    /// Deals with a link; false leaves it here, to be offered again.
    using Handler = std::move_only_function<bool(const MailToParseResult&)>;

    /// The instance that an application has, made when it is first asked for; another may be put in its place.
    [[nodiscard]] static std::shared_ptr<MailToManager>& shared();

    /// The links that no handler has taken, the oldest first.
    std::vector<MailToParseResult> unhandled;

    /// Makes this instance the one that the links are sent to. Those that came before, and wait, follow from the
    /// main loop. It does not make the application the one that the desktop opens `mailto:` links with.
    void registerSystemHandler();

    /// Installs the handler, in place of the one before, and offers it the links that wait; they are offered again
    /// at every link that arrives. An empty one leaves all links here.
    ///
    /// The newest is offered first. For the first offer that is accepted the oldest link is removed, for the second
    /// the second of those that are left, and so on: with one link that waits, the usual case, that is the link
    /// itself; with several it is not.
    /// Errors: stops the process when there is no such link, as with two that wait and are both accepted.
    void handleMailTo(Handler handler);

    /// Takes a link from an event. Nothing is put into the reply.
    /// Errors: prints a line, and nothing else, when the event carries no text, or that is no mail link.
    void handleEvent(const NSAppleEventDescriptor& withUrlEvent, NSAppleEventDescriptor& replyEvent);

private:
    void offerUnhandled();

    std::shared_ptr<Handler> handler; // null: none; shared with an offer that is under way
};

} // namespace LumoKit
