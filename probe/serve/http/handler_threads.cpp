#include "probe/serve/http/handler_threads.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

handler_threads::handler_threads(
    std::size_t count,
    const access_rules& rules,
    const http_handler& handler,
    const http_observer& observer,
    bool secure,
    finished_call finished
)
    : finished_{std::move(finished)} {
    for (std::size_t i = 0; i < count; ++i) {
        request_processor& processor = processors_.emplace_back(rules, handler, observer, secure);
        threads_.emplace_back([this, &processor] { work(processor); });
    }
}

handler_threads::~handler_threads() {
    {
        const std::lock_guard lock{mutex_};
        stopping_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

void handler_threads::add(std::uint64_t id, request_text request) {
    {
        const std::lock_guard lock{mutex_};
        waiting_.push_back({id, std::move(request)});
    }
    changed_.notify_one();
}

void handler_threads::work(request_processor& processor) {
    std::unique_lock lock{mutex_};
    while (true) {
        changed_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
        if (stopping_) {
            return;
        }
        const task taken = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        finished_(taken.id, processor.process(taken.request));
        lock.lock();
    }
}

} // namespace tarvik::monitoring_modules::probe
