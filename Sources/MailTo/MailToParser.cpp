#include <LumoKit/MailTo/MailToParser.h>
#include <LumoKit/Platform/Foundation/NSRegularExpression.h>
#include <LumoKit/Platform/Foundation/URLComponents.h>

namespace LumoKit {

namespace {

bool isAddress(std::string_view text)
{
    // An expression serves one search at a time: each thread has its own.
    thread_local auto expression = NSRegularExpression::compile(
        R"([A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,64})", NSRegularExpression::Options::none);
    return expression->matchesWhole(text);
}

std::optional<std::vector<std::string>> recipients(std::string_view path)
{
    std::vector<std::string> found;
    for (std::size_t begin = 0; begin <= path.size();) { // an empty path is one empty piece
        const std::string_view piece = path.substr(begin, path.find(',', begin) - begin);
        if (!isAddress(piece))
            return std::nullopt;
        found.emplace_back(piece);
        begin += piece.size() + 1;
    }
    return found;
}

} // namespace

std::optional<MailToParseResult> parseMailTo(std::string_view urlString)
{
    const auto components = URLComponents::parse(urlString);
    if (!components || components->scheme() != "mailto")
        return std::nullopt;
    return MailToParseResult{recipients(components->path()), components->firstQueryValue("subject"),
        components->firstQueryValue("body")};
}

} // namespace LumoKit
