#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gio/gio.h>

#include <functional>
#include <string>
#include <vector>

namespace LumoKit::detail {

/// What an application is started for.
struct StartRequest {
    /// To be opened; none where the application is only to come to the front.
    std::vector<std::string> links;
    /// With what the desktop lets the application come to the front; may be empty.
    std::string activationToken;
};

/// The one instance of an application in a session: the owner of its identifier as a name on the session bus, who
/// is sent what further starts were made for.
///
/// A start is answered only when what it asked for is accepted. While it waits for that, the instance may end; then
/// its place is free, and the start takes it, so that no link is lost between the two.
///
/// Thread: the main thread.
/// Source: Desktop Entry Specification, section 8, D-Bus activation.
class SingleInstance {
public:
    enum class Answer {
        accepted,
        /// There is no room for more.
        refused,
        /// The application ends: whoever asks waits for that, and takes its place.
        ending,
    };
    using Handler = std::function<Answer(const StartRequest&)>;

    /// Connects to the session bus. `handler` is called from the main loop for each further start.
    SingleInstance(std::string identifier, Handler handler);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    /// Whether this process is to go on: it is the one instance, or runs alone, because there is no session bus or
    /// the identifier is no name for it. If not, another instance was sent the request.
    [[nodiscard]] bool claim(const StartRequest& request);

private:
    enum class Sent { taken, gone, misunderstood };
    [[nodiscard]] bool own();
    [[nodiscard]] Sent send(const StartRequest& request);
    void answer(const char* method, GVariant* parameters, GDBusMethodInvocation* call);

    const std::string identifier;
    const std::string path;
    const Handler handler;
    ObjectPtr<GDBusConnection> bus; // none: alone
    guint object = 0;
};

} // namespace LumoKit::detail
