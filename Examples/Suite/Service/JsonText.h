#pragma once

#include "Mailbox.h"

#include <nlohmann/json.hpp>

#include <string>

namespace LumoSuite {

using Json = nlohmann::ordered_json;

/// The text of a value. What is no UTF-8 in it is replaced, so that no answer ends with an exception.
inline std::string jsonText(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

inline Json personJson(const Person& person)
{
    Json json = {{"name", person.name}, {"address", person.address}};
    if (!person.image.empty())
        json["image"] = person.image;
    return json;
}

} // namespace LumoSuite
