#pragma once

#include "Waiting.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/URLError.h>
#include <LumoKit/Platform/Foundation/URLSession.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace LumoKit::Test {

/// What a task ended with; written before `times` is raised on the main thread.
struct Load {
    std::atomic<int> calls = 0; // of the handler, on its thread
    bool ended = false; // seen by the main thread
    std::optional<std::string> text; // the body
    std::shared_ptr<const HTTPURLResponse> response;
    std::optional<Error> error;
    std::thread::id thread;
    std::shared_ptr<URLSessionDataTask> task;

    [[nodiscard]] int status() const { return response ? response->statusCode() : 0; }
    /// Zero without an error.
    [[nodiscard]] int code() const
    {
        return error && error->domain == NSURLErrorDomain ? error->code : error ? 1 : 0;
    }
};

/// A task that is not yet resumed.
inline std::shared_ptr<Load> prepare(URLSession& session, const URLRequest& request)
{
    auto load = std::make_shared<Load>();
    load->task = session.dataTask(request,
        [load](std::optional<Data> data, std::shared_ptr<const URLResponse> response,
            std::optional<Error> error) {
            ++load->calls;
            load->thread = std::this_thread::get_id();
            if (data)
                load->text = std::string(reinterpret_cast<const char*>(data->data()), data->size());
            load->response = std::dynamic_pointer_cast<const HTTPURLResponse>(response);
            load->error = std::move(error);
            DispatchQueue::main()->async([load] { load->ended = true; });
        });
    return load;
}

inline std::shared_ptr<Load> begin(URLSession& session, const URLRequest& request)
{
    auto load = prepare(session, request);
    load->task->resume();
    return load;
}

[[nodiscard]] inline bool waitFor(const Load& load)
{
    return waitUntil([&] { return load.ended; });
}

/// Loads to the end; what is not ended then says so.
inline std::shared_ptr<Load> load(URLSession& session, const URLRequest& request)
{
    auto begun = begin(session, request);
    if (!waitFor(*begun))
        begun->error = Error{"Test", 0, "the handler was not called"};
    return begun;
}

#ifndef __has_feature
#define __has_feature(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || __has_feature(address_sanitizer)        \
    || __has_feature(thread_sanitizer)
constexpr bool hasSanitizer = true;
#else
constexpr bool hasSanitizer = false;
#endif

/// So many megabytes of memory; twice as many with a sanitizer, which keeps books on each.
/// Units: bytes.
constexpr std::size_t megabytes(std::size_t count)
{
    return (count << 20) * (hasSanitizer ? 2 : 1);
}

/// The most memory that this process ever had at once.
/// Units: bytes.
inline std::size_t peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::stoul(line.substr(6)) * 1024;
    return 0;
}

} // namespace LumoKit::Test
