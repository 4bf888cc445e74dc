#include "PanelText.h"

namespace LumoKit::detail {

namespace {

constexpr std::size_t longestCharacter = 4; // bytes
constexpr std::size_t longestWord = 200; // addresses should be copied as they are
constexpr std::string_view breakOpportunity = "\u200B";

bool breaksLine(gunichar character)
{
    return character == '\n' || character == '\r' || character == 0x2028 || character == 0x2029;
}

} // namespace

GText validText(std::string_view text)
{
    return GText(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
}

std::string panelText(std::string_view text, std::size_t longest)
{
    const GText valid = validText(text.substr(0, longest * longestCharacter));
    std::string shown;
    std::size_t characters = 0;
    std::size_t lines = 1;
    std::size_t word = 0;
    const char* at = valid.get();
    for (; *at && characters < longest; at = g_utf8_next_char(at), ++characters) {
        const gunichar character = g_utf8_get_char(at);
        if (breaksLine(character) && ++lines > mostPanelLines)
            break;
        word = g_unichar_isspace(character) ? 0 : word + 1;
        if (word > longestWord) {
            shown += breakOpportunity;
            word = 1;
        }
        shown.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
    }
    if (*at || text.size() > longest * longestCharacter)
        shown += "…";
    return shown;
}

} // namespace LumoKit::detail
