// Any pattern, the first line, reads any text, what follows it, in bounded time; what is found stands in the text.

#include <LumoKit/Platform/Foundation/NSRegularExpression.h>
#include <LumoKit/Utility/String+Regex.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace LumoKit;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string pattern(input.substr(0, input.find('\n')));
    const std::string_view text =
        pattern.size() < size ? input.substr(pattern.size() + 1) : std::string_view();
    static_cast<void>(test(text, pattern));
    for (const auto& group : capturedGroups(text, pattern))
        if (!text.contains(group))
            std::abort();
    if (!NSRegularExpression::compile(pattern, NSRegularExpression::Options::none))
        return 0; // which would be printed
    std::size_t end = 0;
    for (const auto& match : matches(text, pattern)) {
        const auto found = text.find(match, end);
        if (found == text.npos)
            std::abort();
        end = found + match.size();
    }
    return 0;
}
