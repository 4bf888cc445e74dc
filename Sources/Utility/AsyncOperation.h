#pragma once

#include <LumoKit/Platform/Foundation/Operation.h>
#include <LumoKit/Utility/RawRepresentable.h>

#include <array>
#include <atomic>
#include <string_view>
#include <utility>

namespace LumoKit {

/// An operation whose work ends later than the call that starts it. A subclass overrides `main`, calls the base's first
/// and begins its work if it is executing then; when the work ends, it sets `state` to `finished`.
///
/// Thread: the state may be set on any thread, which is the one that observers are told on.
class AsyncOperation : public Operation {
public:
    enum class State { ready, executing, finished };

    AsyncOperation() = default;

    /// Finishes at once if it is cancelled; otherwise announces that it is ready, and calls `main`.
    void start() override;

    /// Is executing from here on, or finishes if it was cancelled meanwhile.
    void main() override;

    [[nodiscard]] State state() const { return current; }
    /// Announces both states, also where the new one is the old: before, the old one first; after, the new one.
    void setState(State next);

    [[nodiscard]] bool isExecuting() const override { return state() == State::executing; }
    [[nodiscard]] bool isFinished() const override { return state() == State::finished; }
    [[nodiscard]] bool isAsynchronous() const override { return true; }

private:
    std::atomic<State> current = State::ready;
};

template <> struct RawValues<AsyncOperation::State> {
    static constexpr auto cases = std::to_array<std::pair<AsyncOperation::State, std::string_view>>(
        {{AsyncOperation::State::ready, "Ready"}, {AsyncOperation::State::executing, "Executing"},
            {AsyncOperation::State::finished, "Finished"}});
};

} // namespace LumoKit
