#include "WebDocumentView.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/WebKit/WebView.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

/// The world of scripts that evaluations run in, apart from the document's own.
constexpr const char* world = "LumoKit.WebView";

struct Evaluation {
    const WebView* view;
    WebView::EvaluationHandler handler;
};

/// Those that are under way, by numbers that the engine hands back: it forgets those of a document whose process has not
/// started yet when that is released.
std::map<std::uintptr_t, Evaluation>& evaluations()
{
    static std::map<std::uintptr_t, Evaluation> all;
    return all;
}

void finishEvaluation(GObject* view, GAsyncResult* ended, gpointer number) noexcept
{
    detail::GErrorPtr error;
    const auto value = detail::ObjectPtr<JSCValue>::adopt(
        webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), ended, error.out()));
    auto evaluation = evaluations().extract(reinterpret_cast<std::uintptr_t>(number));
    if (!evaluation)
        return;
    if (!value || !jsc_value_is_string(value.get()))
        return evaluation.mapped().handler(std::nullopt);
    const std::unique_ptr<GBytes, detail::FreedBy<g_bytes_unref>> bytes(
        jsc_value_to_string_as_bytes(value.get()));
    gsize size = 0;
    const auto* text = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
    evaluation.mapped().handler(std::string(text, size));
}

} // namespace

struct WebView::Native {
    CGRect frame;
    std::string groupName;
    std::shared_ptr<WebDocumentView> document;
    std::shared_ptr<WebFrame> mainFrame;
    bool updates = true;
    bool failed = false; // the engine reports a failed load as finished, too
    std::weak_ptr<WebFrameLoadDelegate> delegate;
    std::vector<detail::SignalConnection> connections; // last, so that no handler runs while the rest goes
};

WebView::WebView(const CGRect& frame, std::string frameName, std::string groupName)
    : native(std::make_unique<Native>())
{
    assertMainThread();
    native->frame = frame;
    native->groupName = std::move(groupName);
    native->document = std::make_shared<WebDocumentView>(frame.size);
    native->mainFrame.reset(new WebFrame(std::move(frameName), native->document));

    using detail::SignalConnection;
    WebKitWebView* engine = native->document->engine();
    native->connections.push_back(SignalConnection::connect<void(WebKitWebView*, WebKitLoadEvent)>(
        engine, "load-changed", [this](auto*, WebKitLoadEvent event) {
            const auto alive = std::static_pointer_cast<WebView>(shared_from_this());
            native->document->isLoading = event != WEBKIT_LOAD_FINISHED;
            if (event == WEBKIT_LOAD_STARTED)
                native->failed = false;
            const auto delegate = native->delegate.lock();
            if (event == WEBKIT_LOAD_FINISHED && !native->failed && delegate)
                delegate->webView(alive, native->mainFrame);
        }));
    native->connections.push_back(
        SignalConnection::connect<gboolean(WebKitWebView*, WebKitLoadEvent, const char*, const GError*)>(
            engine, "load-failed", [this](auto*, auto, auto*, auto*) {
                native->failed = true;
                return TRUE; // or the engine would show a page of its own
            }));
}

WebView::~WebView()
{
    for (auto each = evaluations().begin(); each != evaluations().end();) {
        const auto next = std::next(each);
        if (each->second.view == this)
            DispatchQueue::main()->async(
                [handler = std::move(evaluations().extract(each).mapped().handler)]() mutable {
                    handler(std::nullopt);
                });
        each = next;
    }
}

const CGRect& WebView::frame() const
{
    return native->frame;
}

const std::string& WebView::groupName() const
{
    return native->groupName;
}

bool WebView::shouldUpdateWhileOffscreen() const
{
    return native->updates;
}

void WebView::setShouldUpdateWhileOffscreen(bool should)
{
    native->updates = should;
    native->document->setUpdating(should);
}

void WebView::setFrameLoadDelegate(const std::weak_ptr<WebFrameLoadDelegate>& delegate)
{
    native->delegate = delegate;
}

std::shared_ptr<WebFrameLoadDelegate> WebView::frameLoadDelegate() const
{
    return native->delegate.lock();
}

const std::shared_ptr<WebFrame>& WebView::mainFrame() const
{
    return native->mainFrame;
}

bool WebView::isLoading() const
{
    return native->document->isLoading;
}

void WebView::stringByEvaluatingJavaScript(const std::string& from, EvaluationHandler completionHandler)
{
    static std::uintptr_t last = 0;
    evaluations().emplace(++last, Evaluation{this, std::move(completionHandler)});
    webkit_web_view_evaluate_javascript(native->document->engine(), from.data(),
        static_cast<gssize>(from.size()), world, nullptr, nullptr, &finishEvaluation,
        reinterpret_cast<gpointer>(
            last)); // NOLINT(performance-no-int-to-ptr): a number that the engine carries
}

} // namespace LumoKit
