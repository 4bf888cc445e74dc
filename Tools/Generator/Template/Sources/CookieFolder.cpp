#include "CookieFolder.h"

#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <string_view>
#include <utility>

namespace Host {

using namespace LumoKit;

CookieFolder::CookieFolder(std::filesystem::path folder)
    : folder(std::move(folder))
{
    std::error_code error;
    std::filesystem::create_directories(this->folder, error);
    std::filesystem::permissions(this->folder, std::filesystem::perms::owner_all, error);
    if (error)
        print("cookies: " + error.message());
}

std::filesystem::path CookieFolder::file(const std::string& key) const
{
    // A key is any text; what it is named after cannot leave the folder.
    constexpr std::string_view digits = "0123456789abcdef";
    std::string name;
    for (const char character : key) {
        const auto byte = static_cast<unsigned char>(character);
        name += {digits[byte >> 4], digits[byte & 15]};
    }
    return folder / name;
}

std::optional<Data> CookieFolder::loadData(const std::string& key)
{
    const auto bytes = readFile(file(key));
    if (!bytes)
        return std::nullopt;
    const auto* first = reinterpret_cast<const std::byte*>(bytes->data());
    return Data(first, first + bytes->size());
}

void CookieFolder::saveData(const std::string& key, const Data& data)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (const auto written = writeFile(file(key), bytes); !written)
        print("cookies: " + written.error().description);
}

} // namespace Host
