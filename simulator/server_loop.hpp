#pragma once
// The thread in which a server lives. All that is done with a running server is done there, one
// thing at a time: the stack takes its two locks in different orders when it is called from several
// threads. It can also be held still, so that clients meet a server that hangs.

#include "simulator/stack_owners.hpp"

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <open62541/server.h>

namespace tarvik::simulator {

class server_loop final {
  public:
    /// Makes the server, lets it listen and answers until this is destroyed, which shuts the server
    /// down.
    /// @param make called once in the loop's thread
    /// @param between called there some 100 times a second, not while frozen; its errors are
    /// dropped
    /// @throws plant_error when the server cannot start; and what make throws
    server_loop(std::function<server_ptr()> make, std::function<void()> between);
    ~server_loop();
    server_loop(const server_loop&) = delete;
    server_loop& operator=(const server_loop&) = delete;

    /// Returns when the loop is at rest. Nothing is answered until thaw(); call() works.
    void freeze();
    void thaw();

    /// Runs action(UA_Server&) between two rounds of the loop and waits for it.
    /// @return, @throws what the action does
    /// @pre not called in the loop's thread
    template <typename Action>
    auto call(Action action) {
        using task = std::packaged_task<decltype(action(std::declval<UA_Server&>()))()>;
        // Shared, since the loop may leave the task a little later than we learn of its end.
        const auto shared = std::make_shared<task>([this, action] { return action(*server_); });
        auto result = shared->get_future();
        post([shared] { (*shared)(); });
        return result.get();
    }

  private:
    void post(std::function<void()> task);
    void start(const std::function<server_ptr()>& make);
    void run(std::promise<void> started, const std::function<server_ptr()>& make) noexcept;
    void answer();

    const std::function<void()> between_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool frozen_ = false;                     // guarded by mutex_
    std::deque<std::function<void()>> tasks_; // guarded by mutex_
    bool ending_ = false;                     // the loop's thread only
    server_ptr server_;                       // the loop's thread only; null before start()
    std::thread thread_;
};

} // namespace tarvik::simulator
