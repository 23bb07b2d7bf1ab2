#include "simulator/server_loop.hpp"

#include "simulator/plant_error.hpp"

#include <string>

#include <open62541/plugin/eventloop.h>

namespace tarvik::simulator {
namespace {

constexpr UA_UInt32 longest_wait_ms =
    10; // for the network; everything else waits that long at most

} // namespace

server_loop::server_loop(std::function<server_ptr()> make, std::function<void()> between)
    : between_(std::move(between)) {
    std::promise<void> started;
    std::future<void> result = started.get_future();
    thread_ = std::thread{
        [this, &make, promise = std::move(started)]() mutable { run(std::move(promise), make); }};
    try {
        result.get();
    } catch (...) {
        thread_.join();
        throw;
    }
}

server_loop::~server_loop() {
    post([this] { ending_ = true; });
    thread_.join();
}

void server_loop::freeze() {
    call([this](UA_Server&) {
        const std::lock_guard lock(mutex_);
        frozen_ = true;
    });
}

void server_loop::thaw() {
    {
        const std::lock_guard lock(mutex_);
        frozen_ = false;
    }
    changed_.notify_all();
}

void server_loop::post(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    changed_.notify_all();
}

void server_loop::start(const std::function<server_ptr()>& make) {
    server_ptr server = make();
    const UA_StatusCode status = UA_Server_run_startup(server.get());
    if (status != UA_STATUSCODE_GOOD) {
        throw plant_error(std::string{"the server cannot start: "} + UA_StatusCode_name(status));
    }
    server_ = std::move(server);
}

void server_loop::run(
    std::promise<void> started, const std::function<server_ptr()>& make
) noexcept {
    try {
        start(make);
    } catch (...) {
        started.set_exception(std::current_exception());
        return;
    }
    started.set_value(); // from here on make is gone
    std::unique_lock lock(mutex_);
    while (!ending_) {
        changed_.wait(lock, [this] { return !frozen_ || !tasks_.empty(); });
        const bool answering = !frozen_ && tasks_.empty();
        const std::deque<std::function<void()>> tasks = std::exchange(tasks_, {});
        lock.unlock();
        for (const std::function<void()>& task : tasks) {
            task();
        }
        if (answering) {
            answer();
        }
        lock.lock();
    }
    lock.unlock();
    UA_Server_run_shutdown(server_.get());
    server_.reset();
}

void server_loop::answer() {
    UA_EventLoop& events = *UA_Server_getConfig(server_.get())->eventLoop;
    events.run(&events, longest_wait_ms);
    try {
        between_();
    } catch (...) { // NOLINT(bugprone-empty-catch): values then stand still for one step
    }
}

} // namespace tarvik::simulator

#ifdef __SANITIZE_THREAD__
// The stack takes the locks of its server and of its event loop in both orders, which the sanitizer
// reports as a possible deadlock. It cannot be one here: a server is made and used by one thread
// alone. All other reports stay on.
extern "C" __attribute__((weak, visibility("default"))) const char* __tsan_default_suppressions() {
    return "deadlock:tarvik::simulator::server_loop\n";
}
#endif
