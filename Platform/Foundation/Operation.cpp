#include "OperationNative.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace LumoKit {

bool Operation::State::discount(Dependency& dependency)
{
    return std::exchange(dependency.counted, false) && --waitedFor == 0;
}

Operation::Operation()
    : state(std::make_unique<State>())
{
}

Operation::~Operation()
{
    // A chain of operations of which each keeps the next is taken apart link by link: one inside the other, a long one
    // would need more stack than there is.
    auto links = std::exchange(state->dependencies, {});
    while (!links.empty()) {
        const auto link = std::move(links.back());
        links.pop_back();
        link->finishing = {};
        const auto operation = std::exchange(link->operation, nullptr);
        if (operation.use_count() > 1)
            continue;
        const std::lock_guard lock(operation->state->mutex);
        std::ranges::move(std::exchange(operation->state->dependencies, {}), std::back_inserter(links));
    }
}

void Operation::start()
{
    if (isFinished())
        return;
    if (!isReady())
        fatalError("an operation is started before it is ready");
    if (state->started.exchange(true))
        fatalError("an operation is started while it is executing");
    if (isCancelled()) {
        willChangeValue("isFinished");
        state->finished = true;
        didChangeValue("isFinished");
        return;
    }
    willChangeValue("isExecuting");
    state->executing = true;
    didChangeValue("isExecuting");
    main();
    willChangeValue("isExecuting");
    willChangeValue("isFinished");
    state->executing = false;
    state->finished = true;
    didChangeValue("isFinished");
    didChangeValue("isExecuting");
}

void Operation::main()
{
}

void Operation::cancel()
{
    if (isFinished() || isCancelled())
        return;
    willChangeValue("isCancelled");
    willChangeValue("isReady");
    state->cancelled = true;
    didChangeValue("isReady");
    didChangeValue("isCancelled");
}

bool Operation::isReady() const
{
    if (isCancelled())
        return true;
    const std::lock_guard lock(state->mutex);
    return state->waitedFor == 0;
}

bool Operation::isExecuting() const
{
    return state->executing;
}

bool Operation::isFinished() const
{
    return state->finished;
}

bool Operation::isCancelled() const
{
    return state->cancelled;
}

bool Operation::isAsynchronous() const
{
    return false;
}

void Operation::addDependency(const std::shared_ptr<Operation>& operation)
{
    const auto added = std::make_shared<State::Dependency>();
    added->operation = operation;
    const bool wasReady = isReady();
    {
        const std::lock_guard lock(state->mutex);
        const bool isKnown = std::ranges::any_of(
            state->dependencies, [&](const auto& dependency) { return dependency->operation == operation; });
        if (state->settled || isKnown)
            return;
        added->counted = true;
        ++state->waitedFor;
        state->dependencies.push_back(added);
    }
    NSObject::didChangeValue("isReady", wasReady);
    const auto count = [weak = weak_from_this(), dependency = std::weak_ptr(added)] {
        const auto self = std::static_pointer_cast<Operation>(weak.lock());
        const auto done = dependency.lock();
        if (!self || !done || !done->operation->isFinished())
            return;
        std::unique_lock lock(self->state->mutex);
        if (!self->state->discount(*done))
            return;
        lock.unlock();
        self->NSObject::didChangeValue("isReady", false);
    };
    auto observation = operation->observe("isFinished", [count](const KeyValueChange&) { count(); });
    {
        const std::lock_guard lock(state->mutex);
        std::swap(added->finishing, observation);
    }
    count(); // it may have finished before it was observed
}

void Operation::removeDependency(const Operation& operation)
{
    std::shared_ptr<State::Dependency> removed; // released without the lock
    {
        const std::lock_guard lock(state->mutex);
        const auto found = std::ranges::find(state->dependencies, &operation,
            [](const auto& dependency) { return dependency->operation.get(); });
        if (found == state->dependencies.end())
            return;
        removed = *found;
        state->dependencies.erase(found);
        if (!state->discount(*removed))
            return;
    }
    NSObject::didChangeValue("isReady", false);
}

std::vector<std::shared_ptr<Operation>> Operation::dependencies() const
{
    const std::lock_guard lock(state->mutex);
    std::vector<std::shared_ptr<Operation>> all;
    for (const auto& dependency : state->dependencies)
        all.push_back(dependency->operation);
    return all;
}

void Operation::setCompletionBlock(std::move_only_function<void()> block)
{
    const std::lock_guard lock(state->mutex);
    std::swap(state->completionBlock, block);
}

void Operation::waitUntilFinished()
{
    std::unique_lock lock(state->mutex);
    state->settling.wait(lock, [&] { return state->settled; });
}

Value Operation::value(std::string_view forKey) const
{
    if (forKey == "isReady")
        return isReady();
    if (forKey == "isExecuting")
        return isExecuting();
    if (forKey == "isFinished")
        return isFinished();
    if (forKey == "isCancelled")
        return isCancelled();
    return NSObject::value(forKey);
}

void Operation::didChangeValue(std::string_view forKey)
{
    const auto alive =
        weak_from_this().lock(); // its queue, which lets it go now, may have been the last to keep it
    NSObject::didChangeValue(forKey);
    if (forKey == "isFinished" && isFinished())
        settle();
}

/// What follows once when the operation has finished.
void Operation::settle()
{
    std::vector<std::shared_ptr<State::Dependency>> dependencies; // released without the lock
    std::move_only_function<void()> block;
    {
        const std::lock_guard lock(state->mutex);
        if (std::exchange(state->settled, true))
            return;
        dependencies = std::exchange(state->dependencies, {});
        block = std::exchange(state->completionBlock, nullptr);
        state->waitedFor = 0;
        state->settling.notify_all();
    }
    if (block)
        DispatchQueue::create("completion")->async(std::move(block));
}

} // namespace LumoKit
