// Any text is a command or none, and any address that is text comes through a command up to its first "&".

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Utility/URLCommandParser.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace LumoKit;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    static const URLCommandParser parser(
        {urlCommandType<MailToCommand>, urlCommandType<OpenURLCommand>, urlCommandType<OpenAccountCommand>});
    if (const auto command = parser.parse(text)) {
        const auto* mail = dynamic_cast<const MailToCommand*>(command.get());
        if (mail && (!text.starts_with("mailto:") || !mail->email || !isUTF8(*mail->email)))
            std::abort();
        const auto* account = dynamic_cast<const OpenAccountCommand*>(command.get());
        if (account && (URLComponents::parse(text)->host() != "account" || !isUTF8(account->email)))
            std::abort();
    }
    const auto built = parser.parse(OpenURLCommand::buildURL("lumoforcalendar", text));
    const std::string_view expected = isUTF8(text) ? text.substr(0, text.find('&')) : std::string_view();
    if (!built || dynamic_cast<const OpenURLCommand&>(*built).url != expected)
        std::abort();
    return 0;
}
