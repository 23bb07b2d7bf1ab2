#pragma once

// The owner of one client of the OPC UA stack, and the one way to make, connect and close it.
//
// Connecting and closing run the stack's asynchronous operations in short steps up to a time-out: a
// refused connection is known in milliseconds, and nothing waits longer than it was told to. Not
// for sharing between threads.

#include "opcua/connect_watch.hpp"
#include "opcua/server_verification.hpp"
#include "opcua/ua_logger.hpp"
#include "opcua/ua_value.hpp"

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include <open62541/client.h>

namespace tarvik::monitoring_modules::opcua {

class ua_client {
  public:
    /// Makes a client with the stack's default configuration and without a connection. A private
    /// key that asks for a pass phrase is refused: nothing ever prompts on the host's terminal.
    /// @param log gets the stack's log lines; not owned, must outlive the client.
    /// @throws exceptions::opcua_request_failed with the status name when the stack cannot make it.
    explicit ua_client(liblog::log_interface& log);
    ua_client(const ua_client&) = delete;
    ua_client& operator=(const ua_client&) = delete;

    /// Closes politely: the server is told, and has at most close_time_out to let go.
    ~ua_client();

    [[nodiscard]] UA_Client* get() const noexcept { return client_.get(); }
    [[nodiscard]] UA_ClientConfig& config() const noexcept;

    enum class until { channel_open, session_activated };

    /// Connects, in one attempt: it ends when the other side closes. To be called once.
    /// @param goal channel_open stops before a session is made.
    /// @return good; otherwise the stack's status: BadTimeout when the time-out passed first,
    /// BadConnectionClosed or BadSecurityChecksFailed when the other side closed (connect_watch),
    /// the answer to verify_server's question when that was not Good.
    [[nodiscard]] UA_StatusCode
    connect(const std::string& url, std::chrono::milliseconds time_out, until goal);

    /// Asks for the server's endpoints, within the configuration's time-out.
    /// @pre connected, until::channel_open
    /// @return what the server sent; without an answer its service result tells why, as connect.
    [[nodiscard]] ua_get_endpoints_response get_endpoints(const std::string& url);

    /// Has a session closed whose login is refused; to be called before connect.
    void close_refused_session() noexcept { watch_.close_refused_session(); }

    /// Has a question asked about the certificate with which the server secures the channel; to be
    /// called before connect, with the configuration's endpoint set (server_verification).
    void verify_server(server_verification::question ask) {
        verification_.install(config(), std::move(ask));
    }

    /// Whether a connect that failed may have left a session on the server, for as long as its
    /// time-out is.
    [[nodiscard]] bool session_may_remain() const noexcept { return watch_.session_may_remain(); }

    /// Whether the stack believes channel and session to be usable; does not touch the network.
    [[nodiscard]] bool is_connected() const noexcept;

    /// Takes in what the network has brought since the last use, such as the server's closing of
    /// the connection.
    void drain() noexcept;

    /// How long the server lets the secure channel live; what was asked for until the server has
    /// answered.
    [[nodiscard]] std::chrono::milliseconds channel_lifetime() const noexcept;

    static constexpr std::chrono::milliseconds close_time_out{200};

  private:
    using clock = std::chrono::steady_clock;

    struct deleter {
        void operator()(UA_Client* client) const noexcept { UA_Client_delete(client); }
    };

    /// Runs the stack until the condition is met, the connection is lost or the time is up.
    template <typename Condition>
    [[nodiscard]] UA_StatusCode run_until(clock::time_point deadline, const Condition& is_met);

    [[nodiscard]] UA_StatusCode request_endpoints(
        const std::string& url, clock::time_point deadline, ua_get_endpoints_response& response
    );

    /// What to call a failure: the status itself, unless it says no more than that the stack was
    /// kept from connecting again; then why.
    [[nodiscard]] UA_StatusCode explained(UA_StatusCode status) const noexcept;

    [[nodiscard]] bool channel_is_closed() const noexcept;
    void close() noexcept;

    ua_logger logger_;                 // the stack client logs through it until it is deleted
    connect_watch watch_;              // the stack calls it until then
    server_verification verification_; // likewise
    std::unique_ptr<UA_Client, deleter> client_;
};

} // namespace tarvik::monitoring_modules::opcua
