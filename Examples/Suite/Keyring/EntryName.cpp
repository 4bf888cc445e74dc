#include "Keyring/EntryName.h"

#include <glib.h>

#include <algorithm>

namespace LumoSuite {

std::string entryName(const std::string& text)
{
    const bool isPlain = !text.empty() && text.size() <= 64 && std::ranges::all_of(text, [](char character) {
        return g_ascii_isdigit(character) || g_ascii_islower(character) || character == '-';
    });
    if (isPlain)
        return text;
    g_autofree char* checksum =
        g_compute_checksum_for_string(G_CHECKSUM_SHA256, text.data(), static_cast<gssize>(text.size()));
    return "_" + std::string(checksum);
}

} // namespace LumoSuite
