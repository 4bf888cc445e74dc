// Any header fields of an answer, one a line, can be read and decided upon, and an answer that is kept is found as it was.

#include "Foundation/HTTPCaching.h"
#include "Foundation/PackedValue.h"

#include <LumoKit/Platform/Foundation/Characters.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

using namespace LumoKit;

static void require(bool condition)
{
    if (!condition)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(data), size);
    if (!isUTF8(text) || text.find('\0') != text.npos)
        return 0; // the library gives no such fields
    HTTPHeaderFields fields;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        if (const auto colon = line.find(':'); colon != line.npos)
            fields.insert_or_assign(std::string(line.substr(0, colon)), std::string(line.substr(colon + 1)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    const URLRequest request(*URL::parse("http://mail.example/"));
    const CachedURLResponse answer{std::make_shared<HTTPURLResponse>(request.url, 200, fields),
        {std::byte{1}}, {}, Date(std::chrono::hours(1))};
    require(!detail::isFresh(answer, Date(std::chrono::minutes(59))));
    static_cast<void>(detail::isFresh(answer, Date(std::chrono::hours(2))));
    const auto updated = detail::updated(answer, *answer.response, answer.stored);
    require(updated.response->allHeaderFields() == fields);
    require(detail::validators(*answer.response).size() <= 2);

    static const auto folder =
        std::filesystem::temp_directory_path() / ("fuzz-answer-" + std::to_string(::getpid()));
    static URLCache& cache = *new URLCache(1 << 20, folder);
    cache.storeCachedResponse(answer, request);
    const auto found = cache.cachedResponse(request);
    if (detail::mayBeStored(request, *answer.response))
        require(!found || (found->data == answer.data && found->response->allHeaderFields() == fields));
    require(!found || detail::isFor(*found, request));
    cache.removeAllCachedResponses();
    return 0;
}
