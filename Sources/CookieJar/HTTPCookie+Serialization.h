#pragma once

#include <LumoKit/Platform/Foundation/HTTPCookie.h>

#include <optional>

namespace LumoKit {

/// The flat record in which a cookie is stored: twelve entries, null where the cookie has nothing to say.
///
/// Comment, Domain, Path, Name and Value are texts, CommentURL is a URL, Secure a boolean, Version a number.
/// Discard, Expires, Max-Age and OriginURL are what the cookie's own properties have under these keys. Whether
/// script may see the cookie, its same-site policy and its ports are not kept: what a record gives back is a
/// cookie without these limits.
/// Thread: any.
[[nodiscard]] Value::Dictionary serialize(const HTTPCookie& cookie);

/// The cookie of a record, or of any map of properties; null values count as absent.
/// Errors: nothing when `HTTPCookie` refuses the properties.
/// Thread: any.
[[nodiscard]] std::optional<HTTPCookie> deserialize(const Value::Dictionary& from);

} // namespace LumoKit
