#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>

namespace LumoKit {

void WebViewJavascriptExecutor::execute(const std::string& js)
{
    const auto view = webview.lock();
    if (!view)
        return;
    view->evaluateJavaScript(js, [js](const std::optional<Value>& result, const std::optional<Error>& error) {
        if (result)
            print("Result of evaluating " + js + ": " + result->description());
        if (error)
            print("Error while evaluating " + js + ": " + error->description);
    });
}

} // namespace LumoKit
