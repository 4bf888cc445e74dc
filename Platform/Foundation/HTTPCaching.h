#pragma once

#include <LumoKit/Platform/Foundation/URLCache.h>

#include <optional>

namespace LumoKit::detail {

/// What HTTP says of keeping answers, for a cache of one user. Everything here is a decision without effect.
///
/// Thread: any.
/// Source: RFC 9111.

/// Whether an answer to a request may be kept (section 3).
[[nodiscard]] bool mayBeStored(const URLRequest& request, const HTTPURLResponse& response);

/// The request's fields that "Vary" of the answer names (section 4.1).
[[nodiscard]] HTTPHeaderFields varyingFields(const URLRequest& request, const HTTPURLResponse& response);

/// Whether a kept answer is for a request, as to the fields by which it varies.
[[nodiscard]] bool isFor(const CachedURLResponse& cached, const URLRequest& request);

/// Whether a kept answer may be given without asking (section 4.2).
[[nodiscard]] bool isFresh(const CachedURLResponse& cached, Date now);

/// The fields that ask whether a kept answer is current; empty where there is nothing to ask by (section 4.3.1).
[[nodiscard]] HTTPHeaderFields validators(const HTTPURLResponse& response);

/// A kept answer with the fields of the answer that said it is current (section 4.3.4).
[[nodiscard]] CachedURLResponse updated(
    const CachedURLResponse& cached, const HTTPURLResponse& notModified, Date now);

} // namespace LumoKit::detail
