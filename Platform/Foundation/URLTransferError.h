#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <gio/gio.h>

namespace LumoKit::detail {

/// The platform's error for what the network library reports.
/// certificateErrors: what was found wrong with the server's certificate.
/// Thread: any.
[[nodiscard]] Error transferError(const GError& error, GTlsCertificateFlags certificateErrors);

} // namespace LumoKit::detail
