#pragma once
// How the commands of this room get into a server: with the module's client, and the same settings,
// certificates and judge as a scan.

#include "common/libi18n/i18n_exception.hpp"
#include "common/liblog/null_logger.hpp"
#include "explorer/node_requests.hpp"
#include "host/connection_arguments.hpp"
#include "host/translation.hpp"
#include "libcertificatehelper/allocator.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/client/connection.hpp"
#include "opcua/client/unfinished_sessions.hpp"
#include "terminal/console.hpp"
#include "trust/server_judge.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// The module's client asks the same judge as the module.
class client_judge final {
  public:
    client_judge(const connection_arguments& arguments, console& terminal);
    ~client_judge();
    client_judge(const client_judge&) = delete;
    client_judge& operator=(const client_judge&) = delete;

    /// @return why the last server was refused and what to do, once; empty: none was
    [[nodiscard]] std::string take_refusal() { return call_.take_refusal(); }

  private:
    server_judge judge_;
    judged_call call_;
};

/// A session of a secured connection needs a certificate.
enum class use_of_connection { session, endpoints };

/// Reads files with secrets, and takes single settings by their keys as scan does, as far as they
/// are about the connection. The own certificate is not among them.
/// @param warn gets a warning for each secret in a file that everybody can read
/// @throws probe_error (usage) for settings that are unknown
[[nodiscard]] settings
given_settings(const connection_arguments& arguments, const warning_receiver& warn);

/// @param timeout seconds, for connecting and for each request
/// @param terminal gets a warning for each secret in a file that everybody can read
/// @throws probe_error (usage) for settings that are unknown or hold what they may not hold
[[nodiscard]] opcua::client_settings server_settings(
    const connection_arguments& arguments,
    std::uint32_t timeout,
    use_of_connection use,
    console& terminal
);

/// @param refusal why this program refused the server; it has the way out itself
/// @throws probe_error (error), always
[[noreturn]] void
fail(const libi18n::i18n_exception& error, const std::string& language, const std::string& refusal);

/// @param language of the hint
/// @throws probe_error (error) when the server does not answer
[[nodiscard]] opcua::ua_get_endpoints_response fetch_endpoints(
    const opcua::client_settings& server,
    const connection_arguments& arguments,
    console& terminal,
    const std::string& language = default_language
);

/// @throws probe_error (usage) for what is no NodeID
[[nodiscard]] opcua::ua_node_id parse_node(const std::string& text);

/// A session for looking around.
class server_session final {
  public:
    /// @param server must outlive this object
    /// @param stop as node_requests take it
    /// @throws i18n_exception when the server cannot be connected to
    server_session(const opcua::client_settings& server, std::function<bool()> stop);

    [[nodiscard]] node_requests& requests() noexcept { return requests_; }

  private:
    liblog::null_logger log_;
    const std::shared_ptr<libcertificatehelper::allocator> certificates_;
    opcua::unfinished_sessions unfinished_;
    opcua::connection connection_;
    node_requests requests_;
};

} // namespace tarvik::monitoring_modules::probe
