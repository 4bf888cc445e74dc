#pragma once

#include <glib-object.h>

#include <functional>
#include <memory>
#include <utility>

namespace LumoKit::detail {

/// A handler connected to a GObject's signal, disconnected when this object is destroyed.
///
/// What the handler returns is what the signal gets. The handler may destroy its own connection, and the
/// connection may outlive its emitter. An exception that leaves the handler ends the process: none may cross
/// the C code that emits signals.
///
/// Thread: connect, emit and destroy on one thread.
class [[nodiscard]] SignalConnection {
public:
    SignalConnection() = default;

    /// Connects `handler`, called with the signal's own arguments, the emitter first:
    /// `connect<void(GtkButton*)>(…)`.
    /// Ownership: the connection keeps the handler, not the emitter.
    template <class Signature, class Handler>
    static SignalConnection connect(gpointer emitter, const char* signal, Handler handler)
    {
        using Connected = Slot<Signature>;
        auto slot = std::make_unique<Connected>();
        slot->handler = std::move(handler);
        SignalConnection connection;
        connection.alive = slot->alive;
        connection.emitter = emitter;
        connection.identifier = g_signal_connect_data(emitter, signal, G_CALLBACK(&Connected::invoke),
            slot.release(), &Connected::destroy, static_cast<GConnectFlags>(0));
        return connection;
    }

    SignalConnection(SignalConnection&& other) noexcept
        : alive(std::move(other.alive))
        , emitter(std::exchange(other.emitter, nullptr))
        , identifier(std::exchange(other.identifier, 0))
    {
    }
    SignalConnection& operator=(SignalConnection&& other) noexcept
    {
        SignalConnection moved(std::move(other));
        std::swap(alive, moved.alive);
        std::swap(emitter, moved.emitter);
        std::swap(identifier, moved.identifier);
        return *this;
    }
    ~SignalConnection()
    {
        // An emitter that is disposed of drops its handlers at once, but keeps those that run until they
        // return.
        if (isConnected() && g_signal_handler_is_connected(emitter, identifier))
            g_signal_handler_disconnect(emitter, identifier);
    }

    /// Whether the handler can still be called: neither disconnected nor left by its emitter.
    [[nodiscard]] bool isConnected() const { return alive && *alive; }

private:
    template <class Signature> struct Slot;
    template <class Result, class... Arguments> struct Slot<Result(Arguments...)> {
        std::move_only_function<Result(Arguments...)> handler;
        std::shared_ptr<bool> alive = std::make_shared<bool>(true);

        static Result invoke(Arguments... arguments, gpointer data) noexcept
        {
            return static_cast<Slot*>(data)->handler(arguments...);
        }
        static void destroy(gpointer data, GClosure*) noexcept
        {
            auto* slot = static_cast<Slot*>(data);
            *slot->alive = false;
            delete slot;
        }
    };

    std::shared_ptr<bool> alive; // shared with the slot, which clears it when the emitter goes first
    gpointer emitter = nullptr;
    gulong identifier = 0;
};

} // namespace LumoKit::detail
