// Any bytes are an account or an error. An account that was read is written and read again as the same. A JSON
// dictionary gives the same account, or the same error, whichever way it takes; what can be read can be written.

#include <LumoKit/Models/Account.h>
#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Foundation/JSONDecoder.h>
#include <LumoKit/Platform/Foundation/JSONEncoder.h>
#include <LumoKit/Utility/DictionaryToCodable.h>

#include <cstdlib>

using namespace LumoKit;

static void require(bool condition)
{
    if (!condition)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto account = JSONDecoder().decode<Account>(text);
    if (account) {
        const auto written = JSONEncoder().encode(*account);
        require(written && JSONDecoder().decode<Account>(*written) == *account);
    }

    const auto value = readJSON(text);
    if (!value || (!value->asArray() && !value->asDictionary()))
        return 0;
    const auto first = JSONSerialization::text(*value);
    require(first.has_value());
    const auto again = readJSON(*first);
    require(again && JSONSerialization::text(*again) == *first);
    if (value->asDictionary())
        require(convertDictionaryToCodable<Account>(*value->asDictionary()) == account);
    return 0;
}
