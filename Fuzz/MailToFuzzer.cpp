// Any text is a mail link or none; the recipients of one are its path, each with an "@" and plain ASCII.

#include <LumoKit/MailTo/MailToParser.h>
#include <LumoKit/Platform/Foundation/URLComponents.h>

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace LumoKit;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto result = parseMailTo(text);
    const auto components = URLComponents::parse(text);
    if (result.has_value() != (components && text.starts_with("mailto:")))
        std::abort();
    if (!result || !result->recipients)
        return 0;
    std::string joined;
    for (const auto& recipient : *result->recipients) {
        const auto isPlain = [](char character) { return character > ' ' && character < 0x7F; };
        if (std::ranges::count(recipient, '@') != 1 || !std::ranges::all_of(recipient, isPlain))
            std::abort();
        joined += (joined.empty() ? "" : ",") + recipient;
    }
    if (joined != components->path())
        std::abort();
    return 0;
}
