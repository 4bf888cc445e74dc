#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/PercentEncoding.h>
#include <LumoKit/Platform/Foundation/ProcessInfo.h>
#include <LumoKit/Utility/HelpRequestInfo.h>

namespace LumoKit {

namespace {

std::string information(std::string_view key)
{
    const Value entry = Bundle::main().object(key);
    const auto* text = entry.asText();
    return text ? *text : std::string();
}

} // namespace

std::string HelpRequestInfo::applicationName()
{
    return information("CFBundleName");
}

std::string HelpRequestInfo::versionNumber()
{
    return information("CFBundleShortVersionString");
}

std::string HelpRequestInfo::buildNumber()
{
    return information("CFBundleVersion");
}

std::string HelpRequestInfo::macOsVersion()
{
    return ProcessInfo::operatingSystemVersionString();
}

void HelpRequestInfo::append(std::string& text, char separator, std::string_view name, std::string_view value)
{
    const auto encodedName = addingPercentEncodingToAllButAlphanumerics(name);
    const auto encodedValue = addingPercentEncodingToAllButAlphanumerics(value);
    if (!encodedName || !encodedValue)
        return;
    text.append(1, separator).append("prefill_").append(*encodedName).append("=").append(*encodedValue);
}

} // namespace LumoKit
