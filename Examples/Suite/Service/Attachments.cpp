#include "Attachments.h"

#include <glib.h>

#include <algorithm>

namespace LumoSuite {

bool Attachments::isName(std::string_view text)
{
    constexpr std::size_t longest = 255;
    const auto isForbidden = [](char letter) {
        const auto code = static_cast<unsigned char>(letter);
        return code < 0x20 || code == 0x7f || letter == '/' || letter == '\\';
    };
    return !text.empty() && text.size() <= longest && std::ranges::none_of(text, isForbidden)
        && g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
}

const Attachment* Attachments::add(std::string name, std::string_view bytes)
{
    if (held.size() >= most || bytes.size() > mostBytes - total)
        return nullptr;
    total += bytes.size();
    return &held.emplace_back("a" + std::to_string(++added), std::move(name), std::string(bytes));
}

const Attachment* Attachments::find(std::string_view id) const
{
    const auto found = std::ranges::find(held, id, &Attachment::id);
    return found == held.end() ? nullptr : &*found;
}

bool Attachments::remove(std::string_view id)
{
    const auto found = std::ranges::find(held, id, &Attachment::id);
    if (found == held.end())
        return false;
    total -= found->bytes.size();
    held.erase(found);
    return true;
}

} // namespace LumoSuite
