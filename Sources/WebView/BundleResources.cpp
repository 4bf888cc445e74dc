#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/WebView/BundleResources.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace LumoKit {

namespace {

/// What pages are made of. A page's module scripts and styles do not load under a wrong type.
WKURLSchemeTask::Response responseFor(const std::filesystem::path& file)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 15> types{{
        {".css", "text/css"},
        {".gif", "image/gif"},
        {".htm", "text/html"},
        {".html", "text/html"},
        {".ico", "image/x-icon"},
        {".jpg", "image/jpeg"},
        {".js", "text/javascript"},
        {".json", "application/json"},
        {".mjs", "text/javascript"},
        {".png", "image/png"},
        {".svg", "image/svg+xml"},
        {".txt", "text/plain"},
        {".wasm", "application/wasm"},
        {".webp", "image/webp"},
        {".woff2", "font/woff2"},
    }};
    const std::string extension = file.extension().string();
    for (const auto& [known, type] : types)
        if (extension == known)
            return {std::string(type), type.starts_with("text/") ? "utf-8" : "", 200};
    return {};
}

} // namespace

void BundleResources::start(WKWebView&, const std::shared_ptr<WKURLSchemeTask>& task)
{
    std::string path = task->url().path();
    if (path.empty() || path == "/")
        path = "/index.html";
    const auto file = bundle.path(path, "");
    const auto bytes = file ? readFile(*file) : std::nullopt;
    if (!bytes) {
        task->didReceive(WKURLSchemeTask::Response{"text/plain", "utf-8", 404});
        task->didReceive("There is no such resource.");
        return task->didFinish();
    }
    task->didReceive(responseFor(*file));
    task->didReceive(*bytes);
    task->didFinish();
}

} // namespace LumoKit
