#include "probe/serve/http/http_server.hpp"

#include "probe/serve/http/access_rules.hpp"
#include "probe/serve/http/connection_loop.hpp"
#include "probe/serve/http/handler_threads.hpp"

#include <algorithm>
#include <csignal>
#include <optional>
#include <thread>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// While it exists, threads that start take no signals: these belong to the program.
class without_signals final {
  public:
    without_signals() noexcept {
        sigset_t all{};
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former_);
    }
    ~without_signals() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
    without_signals(const without_signals&) = delete;
    without_signals& operator=(const without_signals&) = delete;

  private:
    sigset_t former_{};
};

} // namespace

struct http_server::parts {
    parts(http_settings wanted, http_handler to_ask, http_observer to_tell)
        : settings{std::move(wanted)},
          handler{std::move(to_ask)},
          observer{std::move(to_tell)} {
        if (settings.tls) {
            tls.emplace(*settings.tls);
        }
    }

    const http_settings settings;
    const http_handler handler;
    const http_observer observer;
    std::optional<tls_context> tls;
    std::optional<listening_socket> listener;
    std::optional<access_rules> rules;
    std::optional<connection_loop> loop;
    std::optional<handler_threads> handlers;
    std::thread loop_thread;
};

http_server::http_server(
    const http_settings& settings, http_handler handler, http_observer observer
)
    : parts_{std::make_unique<parts>(settings, std::move(handler), std::move(observer))} {}

http_server::~http_server() {
    stop();
}

std::uint16_t http_server::start() {
    parts& own = *parts_;
    own.listener.emplace(own.settings.address, own.settings.port);
    own.rules.emplace(own.settings, own.listener->address());
    own.loop.emplace(
        *own.listener,
        own.tls ? &*own.tls : nullptr,
        own.settings.limits,
        [&own](std::uint64_t id, request_text request) {
            own.handlers->add(id, std::move(request));
        }
    );
    const without_signals quiet;
    own.handlers.emplace(
        std::max<std::size_t>(own.settings.threads, 1),
        *own.rules,
        own.handler,
        own.observer,
        own.tls.has_value(),
        [&own](std::uint64_t id, answer_text text) { own.loop->answer(id, std::move(text)); }
    );
    own.loop_thread = std::thread{[&own] { own.loop->run(); }};
    return own.listener->port();
}

void http_server::stop() noexcept {
    parts& own = *parts_;
    if (own.loop_thread.joinable()) {
        own.loop->stop();
        own.loop_thread.join();
    }
    own.handlers.reset();
}

} // namespace tarvik::monitoring_modules::probe
