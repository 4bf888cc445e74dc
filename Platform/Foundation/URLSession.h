#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URLRequest.h>
#include <LumoKit/Platform/Foundation/URLResponse.h>
#include <LumoKit/Platform/Foundation/URLSessionConfiguration.h>

#include <functional>
#include <memory>
#include <optional>

namespace LumoKit {

class URLSessionDataTask;

/// Loads what HTTP addresses lead to.
///
/// Servers are checked against the system's authorities, proxies are those of the desktop, at most twenty redirects are
/// followed, and encodings such as gzip are undone.
///
/// Thread: any.
/// Lifetime: tasks that were resumed go on when their session is released.
class URLSession : public NSObject {
public:
    /// What a task ends with: the body, empty where the server sent none, and no error; or an error and no body. The
    /// response is there once its head has arrived, also with an error. A status such as 404 is no error.
    using CompletionHandler = std::move_only_function<void(
        std::optional<Data> data, std::shared_ptr<const URLResponse> response, std::optional<Error> error)>;

    /// The session of everybody, with the default configuration.
    [[nodiscard]] static std::shared_ptr<URLSession> shared();

    /// Made by `std::make_shared`.
    explicit URLSession(URLSessionConfiguration configuration);
    ~URLSession() override;

    [[nodiscard]] const URLSessionConfiguration& configuration() const;

    /// A task that waits for its `resume`. Its handler is called exactly once after that or after `cancel`, on the
    /// session's own background queue, one at a time; never within one of these calls.
    ///
    /// Errors: in the domain `NSURLErrorDomain`, with the codes in `URLError.h`.
    /// Ownership: the handler is released on that queue after its call, or with a task that never was resumed.
    [[nodiscard]] std::shared_ptr<URLSessionDataTask> dataTask(
        const URLRequest& with, CompletionHandler completionHandler);
    [[nodiscard]] std::shared_ptr<URLSessionDataTask> dataTask(
        const URL& with, CompletionHandler completionHandler);

    struct Native;

private:
    const std::shared_ptr<Native> native; // shared with what is under way
};

/// One load.
///
/// Thread: any.
class URLSessionDataTask : public NSObject {
public:
    enum class State { running, suspended, canceling, completed };

    /// Begins; without effect where it has begun.
    void resume();

    /// Ends the task with `NSURLErrorCancelled`, unless it has ended; its handler is called also where it had not
    /// begun.
    void cancel();

    /// `completed` from just before the handler is called.
    [[nodiscard]] State state() const;
    [[nodiscard]] const URLRequest& originalRequest() const;

    struct Native;
    /// For the platform layer itself.
    explicit URLSessionDataTask(std::shared_ptr<Native> native);

private:
    const std::shared_ptr<Native> native;
};

} // namespace LumoKit
