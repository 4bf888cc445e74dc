// Any bytes are a keyed archive or nothing, in bounded time and memory. What was read can be written, unless it is near the
// bound, and then reads as the same. Every record in it is a cookie or none.

#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <cstdlib>

using namespace LumoKit;

static void require(bool condition)
{
    if (!condition)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto value = NSKeyedUnarchiver::unarchiveObject(std::as_bytes(std::span(data, size)));
    if (!value)
        return 0;
    static_cast<void>(value->description());
    if (const auto archive = NSKeyedArchiver::archivedData(*value)) {
        const auto again = NSKeyedUnarchiver::unarchiveObject(*archive);
        require(again.has_value());
        // By what is shown of them: a number that is none equals nothing, and a date near 1970 loses some nanoseconds
        // once. Not by their bytes: the library finds equal data only sometimes.
        const auto second = NSKeyedArchiver::archivedData(*again);
        const auto last = second ? NSKeyedUnarchiver::unarchiveObject(*second) : std::nullopt;
        require(last && last->description() == again->description());
    }
    if (const auto* records = value->asArray())
        for (const Value& record : *records)
            if (const auto* properties = record.asDictionary())
                if (const auto cookie = deserialize(*properties))
                    require(serialize(*cookie).size() == 12);
    return 0;
}
