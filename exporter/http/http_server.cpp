#include "exporter/http/http_server.hpp"

#include "exporter/http/access_rules.hpp"
#include "exporter/http/client_list.hpp"
#include "exporter/http/handler_threads.hpp"
#include "exporter/http/http_response.hpp"
#include "exporter/http/listening.hpp"
#include "host/probe_error.hpp"

#include <microhttpd.h>

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t head_of_answer = 4'096;
constexpr std::size_t margin = 64; // clients that were sent away, but have not gone yet

/// A request from its head to its answer. The library has it, and gives it back in the end.
struct exchange {
    http_request request;
    std::optional<http_answer> answer; // set while the connection is suspended
};

[[nodiscard]] client_list::client* client_of(MHD_Connection* connection) {
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr : static_cast<client_list::client*>(info->socket_context);
}

} // namespace

class http_server::parts final {
  public:
    parts(const http_settings& settings, http_handler handler, http_observer observer)
        : settings_{settings},
          handler_{std::move(handler)},
          observer_{std::move(observer)},
          fixed_headers_{fixed_headers(settings.tls.has_value())} {
        renew_tls();
    }
    ~parts() { stop(); }
    parts(const parts&) = delete;
    parts& operator=(const parts&) = delete;

    void renew_tls() {
        if (settings_.tls) {
            identities_.push_back(std::make_unique<const tls_identity>(*settings_.tls));
            identity_ = identities_.back().get();
        }
    }

    std::uint16_t start() {
        listener_.emplace(settings_.address, settings_.port);
        rules_.emplace(settings_, listener_->address());
        handlers_.emplace(std::max<std::size_t>(settings_.threads, 1));
        std::vector<MHD_OptionItem> options{
            {MHD_OPTION_LISTEN_SOCKET, listener_->descriptor(), nullptr},
            {MHD_OPTION_NOTIFY_CONNECTION,
             reinterpret_cast<std::intptr_t>(&connection_changed),
             this},
            {MHD_OPTION_NOTIFY_COMPLETED,
             reinterpret_cast<std::intptr_t>(&request_completed),
             this},
            number(MHD_OPTION_CONNECTION_LIMIT, settings_.limits.connections + margin),
            number(MHD_OPTION_CONNECTION_MEMORY_LIMIT, settings_.limits.head_size + head_of_answer),
            number(MHD_OPTION_CONNECTION_TIMEOUT, settings_.limits.silence.count()),
        };
        unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
        if (settings_.tls) {
            flags |= MHD_USE_TLS;
            options.push_back(
                {MHD_OPTION_HTTPS_CERT_CALLBACK, 0, reinterpret_cast<void*>(&give_identity)}
            );
            priorities_ = tls_priorities;
            options.push_back(text(MHD_OPTION_HTTPS_PRIORITIES, priorities_));
        }
        options.push_back({MHD_OPTION_END, 0, nullptr});
        const auto array = MHD_OPTION_ARRAY;
        daemon_.reset(MHD_start_daemon(
            flags, 0, nullptr, nullptr, &serve, this, array, options.data(), MHD_OPTION_END
        ));
        if (daemon_ == nullptr) {
            throw probe_error{exit_code::not_loaded, "The web server could not be started"};
        }
        return listener_->port();
    }

    void stop() noexcept {
        if (daemon_ == nullptr) {
            return;
        }
        using clock = std::chrono::steady_clock;
        MHD_quiesce_daemon(daemon_.get());
        listener_->close();
        stopping_ = true;
        const auto end = clock::now() + settings_.limits.stop;
        while (clients_.unanswered() > 0 && clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds{5});
        }
        handlers_->stop(); // a connection that is suspended cannot be ended
        daemon_.reset();
    }

  private:
    [[nodiscard]] static MHD_OptionItem number(MHD_OPTION option, auto value) {
        return {option, static_cast<std::intptr_t>(value), nullptr};
    }
    [[nodiscard]] static MHD_OptionItem text(MHD_OPTION option, std::string& value) {
        return {option, 0, value.data()};
    }

    static void connection_changed(
        void* own, MHD_Connection* connection, void** context, MHD_ConnectionNotificationCode what
    ) noexcept {
        serving = static_cast<parts*>(own);
        client_list& clients = serving->clients_;
        if (what == MHD_CONNECTION_NOTIFY_CLOSED) {
            clients.remove(static_cast<client_list::client*>(*context));
            return;
        }
        const MHD_ConnectionInfo* const info =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        try {
            *context = info == nullptr ? nullptr : clients.add(info->connect_fd);
        } catch (const std::exception&) { // out of memory
            *context = nullptr;
        }
    }

    /// For a connection that begins, on the thread that talks with all clients of a server.
    static int give_identity(
        gnutls_session_t /*session*/,
        const gnutls_datum_t* /*authorities*/,
        int /*authority_count*/,
        const gnutls_pk_algorithm_t* /*algorithms*/,
        int /*algorithm_count*/,
        gnutls_pcert_st** certificates,
        unsigned int* count,
        gnutls_privkey_t* key
    ) noexcept {
        const tls_identity& current = *serving->identity_.load();
        *certificates = current.certificates().data();
        *count = static_cast<unsigned int>(current.certificates().size());
        *key = current.key();
        return 0;
    }

    static void request_completed(
        void* own, MHD_Connection* connection, void** context, MHD_RequestTerminationCode
    ) noexcept {
        const std::unique_ptr<exchange> last_owner{static_cast<exchange*>(*context)};
        *context = nullptr;
        if (client_list::client* const client = client_of(connection)) {
            static_cast<parts*>(own)->clients_.enter(*client, client_list::phase::receiving);
        }
    }

    static MHD_Result serve(
        void* own,
        MHD_Connection* connection,
        const char* path,
        const char* method,
        const char* /*version*/,
        const char* /*body*/,
        std::size_t* /*body_size*/,
        void** context
    ) noexcept {
        try {
            auto& self = *static_cast<parts*>(own);
            client_list::client* const client = client_of(connection);
            if (client == nullptr) { // there was no memory for it
                return MHD_NO;
            }
            if (*context == nullptr) {
                return self.begin(connection, *client, path, method, context);
            }
            return self.go_on(connection, *client, *static_cast<exchange*>(*context));
        } catch (const std::exception&) { // out of memory
            return MHD_NO;
        }
    }

    /// The head of a request is there.
    MHD_Result begin(
        MHD_Connection* connection,
        client_list::client& client,
        const char* path,
        const char* method,
        void** context
    ) {
        auto made = std::make_unique<exchange>();
        const http_request& request = made->request = read_request(connection, path, method);
        *context = made.release(); // to the library, until request_completed
        const std::optional<int> refused =
            rules_->refusal(request, std::chrono::steady_clock::now());
        if (!refused) {
            return MHD_YES; // and we are called again
        }
        clients_.enter(client, client_list::phase::sending);
        observer_(request.path, *refused);
        return send(connection, refusal(*refused));
    }

    /// The whole request is there, or its answer.
    MHD_Result go_on(MHD_Connection* connection, client_list::client& client, exchange& current) {
        if (current.answer) {
            clients_.enter(client, client_list::phase::sending);
            if (stopping_) {
                current.answer->headers.emplace_back("Connection", "close");
            }
            return send(connection, *std::move(current.answer));
        }
        clients_.enter(client, client_list::phase::handling);
        MHD_suspend_connection(connection);
        bool taken = false;
        try {
            taken = handlers_->add([this, connection, &current] {
                current.answer = answer_to(current.request);
                MHD_resume_connection(connection);
            });
        } catch (const std::exception&) { // out of memory
        }
        if (!taken) {
            MHD_resume_connection(connection);
        }
        return taken ? MHD_YES : MHD_NO;
    }

    [[nodiscard]] MHD_Result send(MHD_Connection* connection, http_answer answer) const {
        const auto status = static_cast<unsigned>(answer.status);
        const response_owner response = make_response(std::move(answer), fixed_headers_);
        return MHD_queue_response(connection, status, response.get());
    }

    [[nodiscard]] http_answer answer_to(const http_request& request) noexcept {
        http_answer answer;
        try {
            answer = handler_(request);
            compress(answer, request.header("Accept-Encoding").value_or(""));
        } catch (...) {
            answer = refusal(500);
        }
        observer_(request.path, answer.status);
        return answer;
    }

    const http_settings settings_;
    const http_handler handler_;
    const http_observer observer_;
    const http_headers fixed_headers_;
    // All that were ever used: a handshake may still need one.
    std::vector<std::unique_ptr<const tls_identity>> identities_;
    std::atomic<const tls_identity*> identity_ = nullptr;
    // The library has no other way to tell for which server a connection begins.
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
    static thread_local parts* serving;
    std::string priorities_;
    std::optional<listening_socket> listener_;
    std::optional<access_rules> rules_;
    client_list clients_{settings_.limits};
    std::atomic<bool> stopping_ = false;
    std::optional<handler_threads> handlers_;
    std::unique_ptr<MHD_Daemon, releaser<MHD_stop_daemon>> daemon_; // its thread ends first
};

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): see its declaration
thread_local http_server::parts* http_server::parts::serving = nullptr;

http_server::http_server(const http_settings& listen, http_handler handler, http_observer observer)
    : parts_{std::make_unique<parts>(listen, std::move(handler), std::move(observer))} {}

http_server::~http_server() = default;

std::uint16_t http_server::start() {
    return parts_->start();
}

void http_server::renew_tls() {
    parts_->renew_tls();
}

void http_server::stop() noexcept {
    parts_->stop();
}

} // namespace tarvik::monitoring_modules::probe
