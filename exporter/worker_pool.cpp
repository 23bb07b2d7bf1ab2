#include "exporter/worker_pool.hpp"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

void wait_until(
    std::unique_lock<std::mutex>& lock, std::condition_variable& called, timed_task::time_point end
) {
    if (end == timed_task::never) {
        called.wait(lock);
    } else {
        called.wait_until(lock, end);
    }
}

} // namespace

worker_pool::~worker_pool() {
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock{mutex_};
        stopping_ = true;
        threads = std::exchange(threads_, {});
    }
    leader_called_.notify_all();
    deputy_called_.notify_all();
    follower_called_.notify_all();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void worker_pool::wake(const std::shared_ptr<timed_task>& task) {
    const std::lock_guard lock{mutex_};
    place& kept = places_.try_emplace(task.get(), place{task, timed_task::never}).first->second;
    if (kept.running) {
        return; // it is asked again when it is done
    }
    queue_.erase({kept.due, task.get()});
    kept.due = task->due();
    queue_.emplace(kept.due, task.get());
    call_somebody();
}

bool worker_pool::remove(const std::shared_ptr<timed_task>& task) {
    const std::lock_guard lock{mutex_};
    const auto found = places_.find(task.get());
    if (found == places_.end()) {
        return true;
    }
    if (found->second.running) {
        return false;
    }
    queue_.erase({found->second.due, task.get()});
    places_.erase(found);
    return true;
}

std::size_t worker_pool::idle() const {
    const std::lock_guard lock{mutex_};
    return idle_;
}

/// Sees to it that somebody waits for the first task of the queue: one who waits already, or else a
/// new thread.
void worker_pool::call_somebody() {
    if (has_leader_) {
        leader_called_.notify_one();
        return;
    }
    if (deputy_until_) {
        deputy_called_.notify_one();
        return;
    }
    if (idle_ > 0) {
        follower_called_.notify_one();
        return;
    }
    if (queue_.empty() || threads_.size() >= most_ || stopping_) {
        return;
    }
    try {
        threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        if (threads_.empty()) {
            throw;
        } // those that are there will do it, later
    }
}

void worker_pool::work() {
    std::unique_lock lock{mutex_};
    while (!stopping_) {
        if (!queue_.empty() && queue_.begin()->first <= std::chrono::steady_clock::now()) {
            run_first(lock);
        } else {
            wait(lock);
        }
    }
}

void worker_pool::wait(std::unique_lock<std::mutex>& lock) {
    ++idle_;
    if (!has_leader_) {
        has_leader_ = true;
        wait_until(lock, leader_called_, first_due());
        has_leader_ = false;
    } else if (!deputy_until_) {
        deputy_until_ = latest_start();
        wait_until(lock, deputy_called_, *deputy_until_);
        deputy_until_.reset();
    } else {
        follower_called_.wait(lock);
    }
    --idle_;
}

worker_pool::time_point worker_pool::first_due() const {
    return queue_.empty() ? timed_task::never : queue_.begin()->first;
}

worker_pool::time_point worker_pool::latest_start() const {
    const time_point due = first_due();
    return due == timed_task::never ? due
                                    : std::max(due, std::chrono::steady_clock::now()) + patience;
}

void worker_pool::run_first(std::unique_lock<std::mutex>& lock) {
    timed_task* const key = queue_.begin()->second;
    queue_.erase(queue_.begin());
    place& chosen = places_.at(key);
    chosen.running = true;
    const std::shared_ptr<timed_task> task = chosen.task;
    if (!has_leader_ && (!deputy_until_ || *deputy_until_ > latest_start())) {
        call_somebody(); // who waits for the next one
    }
    lock.unlock();
    task->run();
    lock.lock();
    chosen.running = false; // it could not be removed meanwhile
    chosen.due = task->due();
    const auto at = queue_.emplace(chosen.due, key).first;
    if (has_leader_ && at == queue_.begin()) { // who waits for a later one
        leader_called_.notify_one();
    }
}

} // namespace tarvik::monitoring_modules::probe
