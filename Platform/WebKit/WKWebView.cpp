#include "../ApplicationKit/NSViewNative.h"
#include "../ApplicationKit/NSWindowNative.h"
#include "ScriptResult.h"
#include "TypedText.h"
#include "WKURLSchemeTaskNative.h"
#include "WKUserContentControllerNative.h"
#include "WKWebsiteDataStoreNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/Source.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>

#include <webkit2/webkit2.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace LumoKit {

namespace {

using detail::ObjectPtr;
using detail::SignalConnection;

struct WebNative final : NSView::Native {
    explicit WebNative(std::shared_ptr<WKWebViewConfiguration> from, GtkWidget* made)
        : Native(made)
        , configuration(std::move(from))
        , controller(configuration->userContentController())
        , pool(configuration->processPool())
        , store(configuration->websiteDataStore())
    {
        isPage = true;
    }
    ~WebNative() override { connections.clear(); }

    [[nodiscard]] WebKitWebView* view() const { return WEBKIT_WEB_VIEW(widget.get()); }

    const std::shared_ptr<WKWebViewConfiguration> configuration;
    // Those that the view was made with, whatever the configuration is given later.
    const std::shared_ptr<WKUserContentController> controller;
    const std::shared_ptr<WKProcessPool> pool;
    const std::shared_ptr<WKWebsiteDataStore> store;
    std::weak_ptr<WKNavigationDelegate> navigationDelegate;
    detail::Source timeout; // of the request that waits for an answer
    bool isTimedOut = false; // the load that the engine is to stop
    KeyValueObservation commandKey;
    std::weak_ptr<WKUIDelegate> uiDelegate;
    std::string customUserAgent; // empty: the engine's
    bool committed = false; // of the load that is under way
    bool failed = false; // the engine reports a failed load as finished, too
    std::map<std::string_view, Value> announced; // the observable properties as they were last told
    std::vector<SignalConnection> connections;
};

WebNative& nativeOf(const WKWebView& view)
{
    return static_cast<WebNative&>(view.nativeView());
}

Error errorOf(const GError* error)
{
    return {g_quark_to_string(error->domain), error->code, error->message};
}

bool isHexDigit(char character)
{
    return g_ascii_isxdigit(character);
}

/// The engine follows the web's own, laxer rules for what may stand in an address. What RFC 3986 does not let
/// stand there is percent-encoded: a "%" that starts no escape, square brackets anywhere but around a host,
/// and everything that is neither reserved nor unreserved.
std::optional<URL> urlFromWeb(const char* address)
{
    if (!address || !*address)
        return std::nullopt;
    if (auto url = URL::parse(address))
        return url;
    static constexpr std::string_view allowed = "-._~:/?#@!$&'()*+,;=";
    const std::string_view text = address;
    const std::size_t authority = text.find("://");
    const std::size_t afterAuthority = authority == text.npos ? 0 : text.find_first_of("/?#", authority + 3);
    const std::size_t fragment = text.find('#');
    std::string encoded;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char character = text[index];
        const bool isEscape = character == '%' && index + 2 < text.size() && isHexDigit(text[index + 1])
            && isHexDigit(text[index + 2]);
        const bool isHostBracket = (character == '[' || character == ']') && index < afterAuthority;
        const bool isSecondHash = character == '#' && index > fragment;
        if (isEscape || isHostBracket || g_ascii_isalnum(character)
            || (allowed.find(character) != allowed.npos && !isSecondHash)) {
            encoded += character;
        } else {
            static constexpr char digits[] = "0123456789ABCDEF";
            const auto byte = static_cast<unsigned char>(character);
            encoded.append({'%', digits[byte >> 4], digits[byte & 15]});
        }
    }
    return URL::parse(encoded);
}

constexpr const char* viewKey = "lumokit-web-view";
constexpr const char* drawsBackgroundKey = "drawsBackground";
constexpr const char* drawsTransparentBackgroundKey = "drawsTransparentBackground";
constexpr const char* pageZoomFactorKey = "pageZoomFactor";

WKWebView* viewOf(WebKitWebView* widget)
{
    return widget ? static_cast<WKWebView*>(g_object_get_data(G_OBJECT(widget), viewKey)) : nullptr;
}

void answerSchemeRequest(WebKitURISchemeRequest* request, gpointer) noexcept
{
    WKWebView* view = viewOf(webkit_uri_scheme_request_get_web_view(request));
    const auto handler = view
        ? view->configuration()->urlSchemeHandler(webkit_uri_scheme_request_get_scheme(request))
        : nullptr;
    const auto url = urlFromWeb(webkit_uri_scheme_request_get_uri(request));
    if (!handler || !url) {
        GError* error = g_error_new_literal(
            WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_UNKNOWN_PROTOCOL, "Nothing answers this scheme");
        webkit_uri_scheme_request_finish_error(request, error);
        g_error_free(error);
        return;
    }
    const char* method = webkit_uri_scheme_request_get_http_method(request);
    auto native = std::make_unique<WKURLSchemeTask::Native>(
        ObjectPtr<WebKitURISchemeRequest>::retain(request), *url, method ? method : "GET");
    handler->start(*view, std::make_shared<WKURLSchemeTask>(std::move(native)));
}

/// The engine knows schemes for all views of a data store alike; each view's configuration then says who answers.
void registerSchemes(WKWebsiteDataStore::Native& store, const WKWebViewConfiguration& configuration)
{
    WebKitWebContext* context = store.context.get();
    for (const auto& [scheme, handler] : configuration.urlSchemeHandlers()) {
        if (!store.schemes.insert(scheme).second)
            continue;
        webkit_web_context_register_uri_scheme(
            context, scheme.c_str(), &answerSchemeRequest, nullptr, nullptr);
        WebKitSecurityManager* security = webkit_web_context_get_security_manager(context);
        webkit_security_manager_register_uri_scheme_as_secure(security, scheme.c_str());
        webkit_security_manager_register_uri_scheme_as_cors_enabled(security, scheme.c_str());
    }
}

std::unique_ptr<NSView::Native> makeNative(
    const std::shared_ptr<WKWebViewConfiguration>& configuration, WebKitWebView* related)
{
    WKWebsiteDataStore::Native& store = configuration->websiteDataStore()->nativeStore();
    registerSchemes(store, *configuration);
    WebKitUserContentManager* content =
        configuration->userContentController()->nativeController().manager.get();
    const auto settings = ObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
    webkit_settings_set_enable_developer_extras(settings.get(), configuration->developerExtrasEnabled);
    // A related view lives in the other's process, and takes the context over from it.
    GtkWidget* widget = related
        ? GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", related, "user-content-manager",
              content, "settings", settings.get(), nullptr))
        : GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", store.context.get(),
              "user-content-manager", content, "settings", settings.get(), nullptr));
    gtk_widget_show(widget);
    return std::make_unique<WebNative>(configuration, widget);
}

/// A policy decision that waits for the host's word. One that nobody answers allows, as the platform does by
/// default.
class PendingPolicy {
public:
    explicit PendingPolicy(WebKitPolicyDecision* asked)
        : decision(ObjectPtr<WebKitPolicyDecision>::retain(asked))
    {
    }
    PendingPolicy(const PendingPolicy&) = delete;
    PendingPolicy& operator=(const PendingPolicy&) = delete;
    ~PendingPolicy() { answer(WKNavigationActionPolicy::allow); }

    void answer(WKNavigationActionPolicy policy)
    {
        if (!decision)
            return;
        if (policy == WKNavigationActionPolicy::allow)
            webkit_policy_decision_use(decision.get());
        else
            webkit_policy_decision_ignore(decision.get());
        decision = {};
    }

private:
    ObjectPtr<WebKitPolicyDecision> decision;
};

/// A page's request for files that waits for the host's word. One that nobody answers takes it back.
class PendingFiles {
public:
    explicit PendingFiles(WebKitFileChooserRequest* asked)
        : request(ObjectPtr<WebKitFileChooserRequest>::retain(asked))
    {
    }
    PendingFiles(const PendingFiles&) = delete;
    PendingFiles& operator=(const PendingFiles&) = delete;
    ~PendingFiles() { answer(std::nullopt); }

    void answer(const std::optional<std::vector<URL>>& files)
    {
        const auto asked = std::exchange(request, {});
        if (!asked)
            return;
        if (!files)
            return webkit_file_chooser_request_cancel(asked.get());
        std::vector<std::string> paths;
        for (const URL& file : *files)
            if (std::string path = file.path(); file.scheme() == "file" && path.find('\0') == path.npos)
                paths.push_back(std::move(path));
        std::vector<const char*> list;
        for (const std::string& path : paths)
            list.push_back(path.c_str());
        list.push_back(nullptr);
        webkit_file_chooser_request_select_files(asked.get(), list.data());
    }

private:
    ObjectPtr<WebKitFileChooserRequest> request;
};

} // namespace

WKWebView::WKWebView(const CGRect& frame, std::shared_ptr<WKWebViewConfiguration> configuration)
    : NSView([&] {
        // One process holds the pages of one data store.
        const auto& views = configuration->processPool()->views;
        const auto related = std::ranges::find_if(views,
            [&](WKWebView* view) { return nativeOf(*view).store == configuration->websiteDataStore(); });
        return makeNative(configuration, related == views.end() ? nullptr : nativeOf(**related).view());
    }())
{
    nativeOf(*this).pool->views.push_back(this);
    WebNative& native = nativeOf(*this);
    native.frame = frame;
    WebKitWebView* view = native.view();
    g_object_set_data(G_OBJECT(view), viewKey, this);

    const auto follow = [controller = native.controller](const auto&) {
        auto& content = controller->nativeController();
        if (NSApplication::shared().commandKey() == NSApplication::CommandKey::super
            && !content.leavesCommandsUntyped)
            content.leaveCommandsUntyped();
    };
    follow(KeyValueChange());
    native.commandKey = NSApplication::shared().observe("commandKey", follow);

    const auto on = [&]<class Signature, class Handler>(
                        std::type_identity<Signature>, const char* signal, Handler handler) {
        native.connections.push_back(SignalConnection::connect<Signature>(view, signal, std::move(handler)));
    };
    on(std::type_identity<void(WebKitWebView*, WebKitLoadEvent)>(), "load-changed",
        [this](auto*, WebKitLoadEvent event) {
            const auto alive = weak_from_this().lock();
            WebNative& state = nativeOf(*this);
            if (event == WEBKIT_LOAD_COMMITTED)
                state.timeout = {};
            if (event == WEBKIT_LOAD_STARTED)
                state.committed = state.failed = state.isTimedOut = false;
            else if (event == WEBKIT_LOAD_COMMITTED)
                state.committed = true;
            const auto delegate = state.navigationDelegate.lock();
            if (!delegate)
                return;
            switch (event) {
            case WEBKIT_LOAD_STARTED:
                return delegate->didStartProvisionalNavigation(*this);
            case WEBKIT_LOAD_REDIRECTED:
                return delegate->didReceiveServerRedirectForProvisionalNavigation(*this);
            case WEBKIT_LOAD_COMMITTED:
                return delegate->didCommit(*this);
            case WEBKIT_LOAD_FINISHED:
                if (!state.failed)
                    delegate->didFinish(*this);
            }
        });
    on(std::type_identity<gboolean(WebKitWebView*, WebKitLoadEvent, const char*, const GError*)>(),
        "load-failed", [this](auto*, WebKitLoadEvent, const char*, const GError* error) {
            const auto alive = weak_from_this().lock();
            WebNative& state = nativeOf(*this);
            state.failed = true;
            // The load that this one took the place of is cancelled, too.
            if (!g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED))
                state.timeout = {};
            if (std::exchange(state.isTimedOut, false))
                return TRUE; // the delegate has been told
            const Error told = errorOf(error);
            if (const auto delegate = state.navigationDelegate.lock()) {
                if (state.committed)
                    delegate->didFail(*this, told);
                else
                    delegate->didFailProvisionalNavigation(*this, told);
            }
            return TRUE; // or the engine would show a page of its own
        });
    on(std::type_identity<void(WebKitWebView*, WebKitWebProcessTerminationReason)>(),
        "web-process-terminated", [this](auto*, auto) {
            const auto alive = weak_from_this().lock();
            if (const auto delegate = nativeOf(*this).navigationDelegate.lock())
                delegate->webContentProcessDidTerminate(*this);
        });
    on(std::type_identity<gboolean(WebKitWebView*, WebKitPolicyDecision*, WebKitPolicyDecisionType)>(),
        "decide-policy",
        [this](auto*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) -> gboolean {
            const auto alive = weak_from_this().lock();
            const auto delegate = nativeOf(*this).navigationDelegate.lock();
            if (!delegate || type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
                return FALSE;
            WebKitNavigationAction* action = webkit_navigation_policy_decision_get_navigation_action(
                WEBKIT_NAVIGATION_POLICY_DECISION(decision));
            const auto url =
                urlFromWeb(webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)));
            if (!url)
                return FALSE;
            const bool clicked =
                webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
            delegate->decidePolicy(*this, {*url, clicked},
                [pending = std::make_shared<PendingPolicy>(decision)](
                    WKNavigationActionPolicy policy) { pending->answer(policy); });
            return TRUE;
        });
    on(std::type_identity<gboolean(WebKitWebView*, WebKitFileChooserRequest*)>(), "run-file-chooser",
        [this](auto*, WebKitFileChooserRequest* request) -> gboolean {
            const auto alive = weak_from_this().lock();
            const auto delegate = nativeOf(*this).uiDelegate.lock();
            if (!delegate)
                return FALSE;
            const bool several = webkit_file_chooser_request_get_select_multiple(request);
            delegate->runOpenPanel(*this, {.allowsMultipleSelection = several},
                [pending = std::make_shared<PendingFiles>(request)](
                    const std::optional<std::vector<URL>>& files) { pending->answer(files); });
            return TRUE;
        });
    // The engine announces a property after it changed; observers get the value before all the same.
    for (const auto& [property, key] : {std::pair("notify::title", "title"), std::pair("notify::uri", "URL"),
             std::pair("notify::estimated-load-progress", "estimatedProgress"),
             std::pair("notify::is-loading", "loading")})
        on(std::type_identity<void(WebKitWebView*, GParamSpec*)>(), property, [this, key](auto*, auto*) {
            const auto alive = weak_from_this().lock();
            didChangeValue(key, std::exchange(nativeOf(*this).announced[key], value(key)));
        });
}

WKWebView::~WKWebView()
{
    nativeOf(*this).connections.clear();
    std::erase(nativeOf(*this).pool->views, this);
    g_object_set_data(G_OBJECT(nativeOf(*this).view()), viewKey, nullptr);
}

const std::shared_ptr<WKWebViewConfiguration>& WKWebView::configuration() const
{
    return nativeOf(*this).configuration;
}

void WKWebView::setNavigationDelegate(const std::weak_ptr<WKNavigationDelegate>& delegate)
{
    nativeOf(*this).navigationDelegate = delegate;
}

std::shared_ptr<WKNavigationDelegate> WKWebView::navigationDelegate() const
{
    return nativeOf(*this).navigationDelegate.lock();
}

void WKWebView::load(const URLRequest& request)
{
    load(request.url);
    if (!(request.timeoutInterval < G_MAXUINT / 1000.0))
        return; // for ever
    GSource* source = g_timeout_source_new(static_cast<guint>(std::max(0.0, request.timeoutInterval) * 1000));
    g_source_set_callback(
        source,
        +[](gpointer data) -> gboolean {
            auto* view = static_cast<WKWebView*>(data); // it owns this source
            const auto alive = view->weak_from_this().lock();
            WebNative& native = nativeOf(*view);
            native.isTimedOut = native.failed = true;
            webkit_web_view_stop_loading(native.view());
            if (const auto delegate = native.navigationDelegate.lock())
                delegate->didFailProvisionalNavigation(
                    *view, {errorDomain, timedOut, "The request timed out."});
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, nullptr);
    nativeOf(*this).timeout = detail::Source::adopt(source);
}

std::string WKWebView::customUserAgent() const
{
    return nativeOf(*this).customUserAgent;
}

void WKWebView::setCustomUserAgent(const std::string& userAgent)
{
    auto& native = nativeOf(*this);
    // A header of its own would be possible after a line's end.
    const bool isText = std::ranges::none_of(
        userAgent, [](unsigned char character) { return character < 0x20 || character >= 0x7F; });
    native.customUserAgent = isText ? userAgent : "";
    webkit_settings_set_user_agent(webkit_web_view_get_settings(native.view()),
        native.customUserAgent.empty() ? nullptr : native.customUserAgent.c_str());
}

void WKWebView::setUIDelegate(const std::weak_ptr<WKUIDelegate>& delegate)
{
    nativeOf(*this).uiDelegate = delegate;
}

std::shared_ptr<WKUIDelegate> WKWebView::uiDelegate() const
{
    return nativeOf(*this).uiDelegate.lock();
}

void WKWebView::load(const URL& url)
{
    nativeOf(*this).timeout = {};
    nativeOf(*this).isTimedOut = false;
    webkit_web_view_load_uri(nativeOf(*this).view(), url.absoluteString().c_str());
}

void WKWebView::loadHTMLString(const std::string& string, const std::optional<URL>& baseURL)
{
    nativeOf(*this).timeout = {};
    const std::unique_ptr<GBytes, detail::FreedBy<g_bytes_unref>> bytes(
        g_bytes_new(string.data(), string.size()));
    webkit_web_view_load_bytes(nativeOf(*this).view(), bytes.get(), "text/html", "UTF-8",
        baseURL ? baseURL->absoluteString().c_str() : nullptr);
}

void WKWebView::reload()
{
    webkit_web_view_reload(nativeOf(*this).view());
}

void WKWebView::stopLoading()
{
    nativeOf(*this).timeout = {};
    webkit_web_view_stop_loading(nativeOf(*this).view());
}

bool WKWebView::canGoBack() const
{
    return webkit_web_view_can_go_back(nativeOf(*this).view());
}

void WKWebView::goBack()
{
    webkit_web_view_go_back(nativeOf(*this).view());
}

bool WKWebView::canGoForward() const
{
    return webkit_web_view_can_go_forward(nativeOf(*this).view());
}

void WKWebView::goForward()
{
    webkit_web_view_go_forward(nativeOf(*this).view());
}

bool WKWebView::performKeyEquivalent(const NSEvent& with)
{
    WebNative& native = nativeOf(*this);
    const auto in = window();
    if (with.type != NSEvent::EventType::keyDown || !in || in->firstResponder().get() != this)
        return false;
    std::optional<detail::TypedText> typed;
    if (!with.native && detail::hasSeveralCodePoints(with.characters))
        typed.emplace(native.view(), with.characters);
    // An input method that knows Control alone for commands would type the letter of one with Super.
    std::optional<detail::NoInputMethod> untyped;
    if (with.modifierFlags.contains(NSEvent::ModifierFlags::command)
        && NSApplication::shared().commandKey() == NSApplication::CommandKey::super)
        untyped.emplace(native.view());
    return in->nativeWindow().keys->deliver(with, native.widget.get(), detail::KeyReader::page);
}

void WKWebView::setValue(const Value& value, std::string_view forKey)
{
    WebKitWebView* view = nativeOf(*this).view();
    const auto flag = value.asBoolean();
    if (flag && (forKey == drawsBackgroundKey || forKey == drawsTransparentBackgroundKey)) {
        const bool draws = *flag == (forKey == drawsBackgroundKey);
        const GdkRGBA color{1, 1, 1, draws ? 1.0 : 0.0};
        webkit_web_view_set_background_color(view, &color);
    }
    if (forKey == pageZoomFactorKey)
        if (const auto factor = value.asNumber(); factor && std::isfinite(*factor) && *factor > 0)
            webkit_web_view_set_zoom_level(view, *factor);
}

std::optional<URL> WKWebView::url() const
{
    return urlFromWeb(webkit_web_view_get_uri(nativeOf(*this).view()));
}

std::string WKWebView::title() const
{
    const char* title = webkit_web_view_get_title(nativeOf(*this).view());
    return title ? title : "";
}

double WKWebView::estimatedProgress() const
{
    return webkit_web_view_get_estimated_load_progress(nativeOf(*this).view());
}

bool WKWebView::isLoading() const
{
    return webkit_web_view_is_loading(nativeOf(*this).view());
}

namespace {

void finishEvaluation(GObject* view, GAsyncResult* ended, gpointer data) noexcept
{
    const std::unique_ptr<WKWebView::EvaluationHandler> handler(
        static_cast<WKWebView::EvaluationHandler*>(data));
    detail::GErrorPtr error;
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    const std::unique_ptr<WebKitJavascriptResult, detail::FreedBy<webkit_javascript_result_unref>> result(
        webkit_web_view_run_javascript_finish(WEBKIT_WEB_VIEW(view), ended, error.out()));
    G_GNUC_END_IGNORE_DEPRECATIONS
    if (error)
        (*handler)(std::nullopt, errorOf(*error.out()));
    else if (!result || detail::isUndefined(result.get()))
        (*handler)(std::nullopt, std::nullopt);
    else
        (*handler)(detail::valueOf(result.get()), std::nullopt);
}

} // namespace

void WKWebView::evaluateJavaScript(const std::string& script, EvaluationHandler completionHandler)
{
    auto handler =
        completionHandler ? std::make_unique<EvaluationHandler>(std::move(completionHandler)) : nullptr;
    if (script.find('\0') != script.npos) { // the engine would take what stands before it for the whole
        if (handler)
            DispatchQueue::main()->async([handler = std::move(handler)] {
                (*handler)(std::nullopt, Error{"LumoKit.WKWebView", 1, "The script holds a NUL character"});
            });
        return;
    }
    const GAsyncReadyCallback callback = handler ? &finishEvaluation : nullptr;
    // Deprecated in favour of a function whose result leads to the slow interface only: see ScriptResult.h.
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    webkit_web_view_run_javascript(
        nativeOf(*this).view(), script.c_str(), nullptr, callback, handler.release());
    G_GNUC_END_IGNORE_DEPRECATIONS
}

Value WKWebView::value(std::string_view forKey) const
{
    if (forKey == "title")
        return title();
    if (forKey == "URL") {
        const auto current = url();
        return current ? Value(*current) : Value();
    }
    if (forKey == "estimatedProgress")
        return estimatedProgress();
    if (forKey == "loading")
        return isLoading();
    if (forKey == drawsBackgroundKey || forKey == drawsTransparentBackgroundKey) {
        GdkRGBA color{};
        webkit_web_view_get_background_color(nativeOf(*this).view(), &color);
        return (color.alpha > 0) == (forKey == drawsBackgroundKey);
    }
    if (forKey == pageZoomFactorKey)
        return webkit_web_view_get_zoom_level(nativeOf(*this).view());
    return NSView::value(forKey);
}

} // namespace LumoKit
