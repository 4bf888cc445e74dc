#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace LumoKit {

/// A piece of work that is done once, when the operations that it depends on have finished.
///
/// What becomes of it is seen through its properties "isReady", "isExecuting", "isFinished" and "isCancelled", which
/// can be observed. Work that ends where it is called overrides `main`; work that ends later overrides `start`,
/// `isAsynchronous`, `isExecuting` and `isFinished`, and announces the changes of the last two.
///
/// Thread: every operation may be called on any thread; a change is announced on the thread that makes it.
/// Ownership: an operation keeps those that it depends on until it has finished itself.
class Operation : public NSObject {
public:
    Operation();
    ~Operation() override;

    /// Does the work, and returns when it has ended: calls `main` unless the operation is cancelled, and finishes.
    /// Nothing for an operation that has finished.
    /// Errors: stops the process if it is executing already, or not ready.
    virtual void start();

    /// The work itself; this one does nothing. Work that takes long looks at `isCancelled` now and then.
    virtual void main();

    /// Asks the operation to end early. It no longer waits for others, and is started only to finish at once; work that
    /// is under way goes on unless it looks. Nothing for an operation that has finished.
    virtual void cancel();

    /// Whether all that it depends on has finished, or it is cancelled.
    [[nodiscard]] virtual bool isReady() const;
    [[nodiscard]] virtual bool isExecuting() const;
    /// Whether the work has ended, by itself or because it was cancelled.
    [[nodiscard]] virtual bool isFinished() const;
    [[nodiscard]] virtual bool isCancelled() const;
    /// Whether the work goes on after `start` has returned.
    [[nodiscard]] virtual bool isAsynchronous() const;

    /// Makes this operation wait for another to finish, which may be in any queue or in none. Operations that wait for
    /// each other in a circle wait until one is cancelled; nobody else is held up.
    void addDependency(const std::shared_ptr<Operation>& operation);
    void removeDependency(const Operation& operation);
    /// In the order in which they were added, finished ones too; none once this operation has finished.
    [[nodiscard]] std::vector<std::shared_ptr<Operation>> dependencies() const;

    /// What is called once, on a thread of its own, after the operation has finished.
    /// Ownership: kept until then.
    void setCompletionBlock(std::move_only_function<void()> block);

    /// Blocks until the operation has finished, without time limit.
    void waitUntilFinished();

    [[nodiscard]] Value value(std::string_view forKey) const override;
    using NSObject::didChangeValue;
    void didChangeValue(std::string_view forKey) override;

private:
    friend class OperationQueue;
    struct State;

    void settle();
    const std::unique_ptr<State> state;
};

} // namespace LumoKit
