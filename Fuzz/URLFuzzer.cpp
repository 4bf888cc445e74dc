// Any text is a URL or nothing; one that is keeps its text, and its parts put together give that text again.

#include <LumoKit/Platform/Foundation/URL.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto url = LumoKit::URL::parse(text);
    if (!url)
        return 0;
    if (url->absoluteString() != text)
        std::abort();
    static_cast<void>(url->user());
    static_cast<void>(url->password());
    static_cast<void>(url->port());
    static_cast<void>(url->path());
    static_cast<void>(url->lastPathComponent());
    const auto host = url->host();
    // An authority ends where the path begins: with a slash, or not at all.
    if (host && !url->percentEncodedPath().empty() && !url->percentEncodedPath().starts_with('/'))
        std::abort();
    std::string tail = url->percentEncodedPath();
    if (url->query())
        tail += "?" + *url->query();
    if (url->fragment())
        tail += "#" + *url->fragment();
    if (!text.ends_with(tail) || (url->scheme() && !text.starts_with(*url->scheme() + ":")))
        std::abort();
    return 0;
}
