#pragma once

#include <LumoKit/Platform/Foundation/Operation.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace LumoKit {

/// Runs operations as they become ready, in the order in which they were added where several are.
///
/// Each is started on one of the queue's threads, and stays in the queue until it has announced that it is finished.
///
/// Thread: every operation may be called on any thread.
/// Lifetime: what was added runs even if the queue is released before; an operation that can never become ready is
/// kept until it is cancelled.
class OperationQueue {
public:
    /// As many at once as there are operations; no more threads than the machine has use for.
    static constexpr int defaultMaxConcurrentOperationCount = -1;

    OperationQueue();
    ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    /// The queue whose operations run on the main thread, one at a time.
    [[nodiscard]] static OperationQueue& mainQueue();

    /// Errors: stops the process for an operation that is in a queue, or was, or that has been started.
    void addOperation(const std::shared_ptr<Operation>& operation);
    /// Adds an operation that calls `block`.
    void addOperation(std::move_only_function<void()> block);
    /// Adds several, and blocks until they have finished if that is asked for.
    void addOperations(const std::vector<std::shared_ptr<Operation>>& operations, bool waitUntilFinished);

    /// Those that have not finished, in the order in which they were added.
    [[nodiscard]] std::vector<std::shared_ptr<Operation>> operations() const;
    [[nodiscard]] std::size_t operationCount() const;

    /// Cancels all that have not finished.
    void cancelAllOperations();

    /// Blocks until none is left that has not finished, without time limit.
    void waitUntilAllOperationsAreFinished();

    /// How many may be executing at the same time; with none, nothing is started. A smaller number lets those go on
    /// that have begun.
    [[nodiscard]] int maxConcurrentOperationCount() const;
    /// Errors: stops the process for a negative number that is not the default. The main queue keeps its one.
    void setMaxConcurrentOperationCount(int count);

private:
    struct State;
    explicit OperationQueue(std::shared_ptr<State> state);
    const std::shared_ptr<State> state;
};

} // namespace LumoKit
