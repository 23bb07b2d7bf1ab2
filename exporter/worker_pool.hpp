#pragma once
// Threads that run tasks when these are due. A task that blocks delays no other one for long while
// there are threads left.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <unordered_map>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class timed_task {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    /// No work at all.
    static constexpr time_point never = time_point::max();

    timed_task() = default;
    timed_task(const timed_task&) = delete;
    timed_task& operator=(const timed_task&) = delete;
    virtual ~timed_task() = default;

    /// @return when run() is wanted next. Called on any thread; short.
    [[nodiscard]] virtual time_point due() const = 0;

    /// Does what is due. Called by one thread at a time; may block.
    virtual void run() noexcept = 0;
};

class worker_pool final {
  public:
    /// The longest delay by a task that blocks: the time that most tasks take is below it.
    static constexpr std::chrono::milliseconds patience{20};

    /// Threads are started as they are needed.
    /// @param most at least 1
    explicit worker_pool(std::size_t most) : most_{most} {}

    /// Waits for the tasks that run.
    ~worker_pool();
    worker_pool(const worker_pool&) = delete;
    worker_pool& operator=(const worker_pool&) = delete;

    /// Takes a task in, or notes that it is due at another time than it said.
    void wake(const std::shared_ptr<timed_task>& task);

    /// Lets go of a task.
    /// @return false when it runs at this moment: it stays
    bool remove(const std::shared_ptr<timed_task>& task);

    /// @return how many of the threads that were started wait for something to do
    [[nodiscard]] std::size_t idle() const;

  private:
    using time_point = timed_task::time_point;
    struct place {
        std::shared_ptr<timed_task> task;
        time_point due;
        bool running = false;
    };

    void work();
    void run_first(std::unique_lock<std::mutex>& lock);
    void wait(std::unique_lock<std::mutex>& lock);
    void call_somebody();
    [[nodiscard]] time_point first_due() const;
    [[nodiscard]] time_point latest_start() const;

    const std::size_t most_;
    mutable std::mutex mutex_; // guards all that follows
    // Of those that have nothing to do, the leader waits for the next task to become due: were it
    // all of them, all would wake up for each task. It runs the task without calling another to its
    // place, which would cost as much as half a scan: the deputy wakes up by itself, a little
    // later, and sees whether somebody leads.
    std::condition_variable leader_called_;
    std::condition_variable deputy_called_;
    std::condition_variable follower_called_;
    bool has_leader_ = false;
    std::optional<time_point> deputy_until_; // when it wakes up; nothing: there is no deputy
    bool stopping_ = false;
    std::size_t idle_ = 0; // the leader included
    std::unordered_map<timed_task*, place> places_;
    std::set<std::pair<time_point, timed_task*>> queue_; // of those that do not run
    std::vector<std::thread> threads_;
};

} // namespace tarvik::monitoring_modules::probe
