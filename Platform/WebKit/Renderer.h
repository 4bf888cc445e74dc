#pragma once

#include <optional>
#include <string>

namespace LumoKit::detail {

/// What is known before the engine starts.
struct RendererFacts {
    /// The environment's WEBKIT_DISABLE_DMABUF_RENDERER.
    std::optional<std::string> override;
    /// Whether NVIDIA's own kernel driver is loaded.
    bool nvidiaDriver = false;
};

/// Whether to switch off the engine's fast path to the screen. With NVIDIA's own driver it shows a blank
/// window (https://bugs.webkit.org/show_bug.cgi?id=262607, open as of WebKitGTK 2.50; this may go when that
/// is closed). Whoever set the variable, to whatever value, has decided.
[[nodiscard]] bool shouldDisableDmabufRenderer(const RendererFacts& facts);

/// Carries out the decision for this process and those that the engine starts. To be called before the first
/// web view.
void chooseRenderer();

} // namespace LumoKit::detail
