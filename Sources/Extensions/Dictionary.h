#pragma once

#include <type_traits>

namespace LumoKit {

/// Takes every entry of `with` over into `dictionary`, any map with one value a key, in the order of `with`.
/// Its values replace those that are there under the same keys; all other entries stay.
/// Thread: as the map's own.
template <class Dictionary>
    requires requires(Dictionary& map, const typename Dictionary::key_type& key,
        const typename Dictionary::mapped_type& value) { map.insert_or_assign(key, value); }
void update(Dictionary& dictionary, const std::type_identity_t<Dictionary>& with)
{
    for (const auto& [key, value] : with)
        dictionary.insert_or_assign(key, value);
}

} // namespace LumoKit
