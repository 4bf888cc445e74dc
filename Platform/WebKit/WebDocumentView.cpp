#include "WebDocumentView.h"

#include "../ApplicationKit/NSViewNative.h"
#include "../ApplicationKit/PrintableView.h"
#include "WKWebsiteDataStoreNative.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <cmath>
#include <list>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

using detail::ObjectPtr;
using detail::SignalConnection;

GtkWidget* makeWidget(WebKitWebContext* context)
{
    GtkWidget* widget =
        GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context, "is-muted", TRUE, nullptr));
    gtk_widget_show(widget);
    return widget;
}

struct DocumentNative final : NSView::Native, detail::PrintableView {
    DocumentNative(std::shared_ptr<WKWebsiteDataStore> data, const CGSize& size)
        : Native(makeWidget(data->nativeStore().context.get()))
        , store(std::move(data))
        , offscreen(ObjectPtr<GtkWidget>::retain(gtk_offscreen_window_new()))
    {
        frame = {{}, size};
        gtk_widget_set_size_request(widget.get(), static_cast<int>(std::lround(size.width)),
            static_cast<int>(std::lround(size.height)));
        gtk_container_add(GTK_CONTAINER(offscreen.get()), widget.get());
        gtk_widget_show(offscreen.get());
        keepToItself();
    }
    ~DocumentNative() override
    {
        connections.clear();
        webkit_web_view_terminate_web_process(view()); // its own, whose scripts may run for ever
        gtk_widget_destroy(offscreen.get());
    }

    void print(GtkPrintSettings* settings, GtkPageSetup* pageSetup, Printed printed) override;

    [[nodiscard]] WebKitWebView* view() const { return WEBKIT_WEB_VIEW(widget.get()); }

    const std::shared_ptr<WKWebsiteDataStore> store;
    const ObjectPtr<GtkWidget> offscreen;

private:
    struct Job {
        ObjectPtr<WebKitPrintOperation> operation;
        Printed printed;
        std::optional<Error> error;
        bool ended = false;
        SignalConnection failed;
        SignalConnection finished;
    };
    using JobPlace = std::list<Job>::iterator;

    void end(JobPlace job);
    void keepToItself();
    template <class Signature, class Handler> void on(gpointer emitter, const char* signal, Handler handler)
    {
        connections.push_back(SignalConnection::connect<Signature>(emitter, signal, std::move(handler)));
    }

    std::list<Job> jobs; // those that are being printed
    std::vector<SignalConnection> connections;
};

/// Nobody sees the document, so that whatever it asks for is refused at once: a dialog of the engine would come from
/// nowhere, and the document would wait for it. What it prints when its process ends is lost.
void DocumentNative::keepToItself()
{
    on<gboolean(WebKitWebView*, WebKitScriptDialog*)>(
        view(), "script-dialog", [](auto*, auto*) { return TRUE; });
    on<gboolean(WebKitWebView*, WebKitPrintOperation*)>(view(), "print", [](auto*, auto*) { return TRUE; });
    on<gboolean(WebKitWebView*, WebKitPermissionRequest*)>(
        view(), "permission-request", [](auto*, WebKitPermissionRequest* request) {
            webkit_permission_request_deny(request);
            return TRUE;
        });
    on<gboolean(WebKitWebView*, WebKitAuthenticationRequest*)>(
        view(), "authenticate", [](auto*, WebKitAuthenticationRequest* request) {
            webkit_authentication_request_cancel(request);
            return TRUE;
        });
    on<gboolean(WebKitWebView*, WebKitFileChooserRequest*)>(
        view(), "run-file-chooser", [](auto*, WebKitFileChooserRequest* request) {
            webkit_file_chooser_request_cancel(request);
            return TRUE;
        });
    on<gboolean(WebKitWebView*, WebKitNotification*)>(
        view(), "show-notification", [](auto*, auto*) { return TRUE; });
    on<void(WebKitWebView*, WebKitWebProcessTerminationReason)>(
        view(), "web-process-terminated", [this](auto*, auto) {
            for (auto job = jobs.begin(); job != jobs.end(); ++job) {
                job->error = Error{"LumoKit.WebView", 1, "The document's process has ended"};
                end(job);
            }
        });
}

void DocumentNative::print(GtkPrintSettings* settings, GtkPageSetup* pageSetup, Printed printed)
{
    const auto job = jobs.emplace(jobs.end());
    job->operation = ObjectPtr<WebKitPrintOperation>::adopt(webkit_print_operation_new(view()));
    job->printed = std::move(printed);
    job->failed = SignalConnection::connect<void(WebKitPrintOperation*, GError*)>(
        job->operation.get(), "failed", [job](auto*, GError* error) {
            job->error = Error{g_quark_to_string(error->domain), error->code, error->message};
        });
    job->finished = SignalConnection::connect<void(WebKitPrintOperation*)>(
        job->operation.get(), "finished", [this, job](auto*) { end(job); }); // it comes after a failure, too
    webkit_print_operation_set_print_settings(job->operation.get(), settings);
    webkit_print_operation_set_page_setup(job->operation.get(), pageSetup);
    webkit_print_operation_print(job->operation.get());
}

/// Later, as the engine may still be about to return from where it began to print.
void DocumentNative::end(JobPlace job)
{
    if (std::exchange(job->ended, true))
        return;
    DispatchQueue::main()->async([this, job] {
        Job ended = std::move(*job);
        jobs.erase(job);
        ended.printed(std::move(ended.error));
    });
}

} // namespace

WebDocumentView::WebDocumentView(const CGSize& size)
    : NSView(std::make_unique<DocumentNative>(WKWebsiteDataStore::nonPersistent(), size))
{
}

WebKitWebView* WebDocumentView::engine() const
{
    return WEBKIT_WEB_VIEW(nativeView().widget.get());
}

void WebDocumentView::setUpdating(bool updating)
{
    gtk_widget_set_visible(static_cast<DocumentNative&>(nativeView()).offscreen.get(), updating);
}

} // namespace LumoKit
