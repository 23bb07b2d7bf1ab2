#pragma once
// The threads on which requests become answers. Their queue is as long as there are connections, at
// most: each of them has one request under way.

#include "probe/serve/http/request_processor.hpp"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class handler_threads final {
  public:
    using finished_call = std::function<void(std::uint64_t, answer_text)>;

    /// Rules, handler and observer must outlive this object.
    /// @param count at least 1
    /// @param finished takes each answer, on any of the threads; must not throw
    handler_threads(
        std::size_t count,
        const access_rules& rules,
        const http_handler& handler,
        const http_observer& observer,
        bool secure,
        finished_call finished
    );

    /// Drops requests that wait, and waits for handlers that run.
    ~handler_threads();
    handler_threads(const handler_threads&) = delete;
    handler_threads& operator=(const handler_threads&) = delete;

    /// @param id comes back with the answer
    void add(std::uint64_t id, request_text request);

  private:
    struct task {
        std::uint64_t id;
        request_text request;
    };

    void work(request_processor& processor);

    const finished_call finished_;
    std::mutex mutex_; // guards all that follows
    std::condition_variable changed_;
    std::deque<task> waiting_;
    bool stopping_ = false;
    std::deque<request_processor> processors_; // one for each thread
    std::vector<std::thread> threads_;
};

} // namespace tarvik::monitoring_modules::probe
