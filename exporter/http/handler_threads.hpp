#pragma once
// Threads on which jobs run in the order in which they came.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class handler_threads final {
  public:
    /// Must not throw.
    using job = std::function<void()>;

    /// @param count at least 1
    explicit handler_threads(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            threads_.emplace_back([this](const std::stop_token& stop) { work(stop); });
        }
    }

    ~handler_threads() { stop(); }
    handler_threads(const handler_threads&) = delete;
    handler_threads& operator=(const handler_threads&) = delete;

    /// @return false: no more are taken
    [[nodiscard]] bool add(job what) {
        {
            const std::lock_guard lock{mutex_};
            if (stopping_) {
                return false;
            }
            waiting_.push_back(std::move(what));
        }
        changed_.notify_one();
        return true;
    }

    /// Takes no more jobs, runs those that wait, and waits for them. Called by one thread only.
    void stop() noexcept {
        {
            const std::lock_guard lock{mutex_};
            stopping_ = true;
        }
        threads_.clear();
    }

  private:
    void work(const std::stop_token& stop) {
        std::unique_lock lock{mutex_};
        while (changed_.wait(lock, stop, [this] { return !waiting_.empty(); })) {
            const job taken = std::move(waiting_.front());
            waiting_.pop_front();
            lock.unlock();
            taken();
            lock.lock();
        }
    }

    std::mutex mutex_; // guards all that follows
    std::condition_variable_any changed_;
    std::deque<job> waiting_;
    bool stopping_ = false;
    std::vector<std::jthread> threads_; // stops and joins each
};

} // namespace tarvik::monitoring_modules::probe
