#include "Support/AccountSwitcher.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

const std::string nowhere = "about:blank";

} // namespace

AccountSwitcher::AccountSwitcher(
    std::shared_ptr<WKWebView> view, std::shared_ptr<MultiCookieJar> jar, URL page)
    : view(std::move(view))
    , jar(std::move(jar))
    , page(std::move(page))
{
}

void AccountSwitcher::show(const std::string& account)
{
    const bool isOnItsWay = wanted.has_value();
    wanted = account;
    if (!isOnItsWay)
        leave();
}

void AccountSwitcher::leave()
{
    isLeaving = true;
    view->load(*URL::parse(nowhere));
}

void AccountSwitcher::pageWasLoaded(const URL& address)
{
    if (!isLeaving || address.absoluteString() != nowhere)
        return;
    isLeaving = false;
    keep([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->change();
    });
}

void AccountSwitcher::change()
{
    current = *wanted;
    isSignedIn = false;
    jar->injectCookies(*view, current, true, [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->arrive();
    });
}

void AccountSwitcher::arrive()
{
    if (*wanted != current)
        return change(); // another one was asked for meanwhile
    wanted.reset();
    const auto cookies = view->configuration()->websiteDataStore()->httpCookieStore();
    cookies->add(weak_from_this());
    view->load(page);
}

bool AccountSwitcher::pageIsSignedIn(const std::string& account)
{
    if (wanted)
        return false; // a last word of the page that is being left
    const bool isTheOne = current.empty() || current == account;
    current = account;
    isSignedIn = true;
    keep([] { });
    return isTheOne;
}

void AccountSwitcher::cookiesDidChange(WKHTTPCookieStore&)
{
    if (!isSignedIn || wanted || std::exchange(willKeep, true))
        return;
    // Several change at once; they are stored once.
    DispatchQueue::main()->async([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self)
            return;
        self->willKeep = false;
        if (!self->wanted)
            self->keep([] { });
    });
}

void AccountSwitcher::keep(std::function<void()> completion)
{
    if (!isSignedIn)
        return completion();
    jar->persistCookies(*view, current, std::move(completion));
}

} // namespace LumoSuite
