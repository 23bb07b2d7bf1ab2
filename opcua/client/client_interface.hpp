#pragma once

// The connection to one OPC UA server, shared by all sensors, checks and notifications with equal
// settings.
//
// Every operation may be called from any thread; operations on one client run one at a time. Each
// waits at most some time-outs of the settings: one for connecting and one for each request, twice
// where it retries.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/nodes/node_interfaces.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

/// What the certificate of a server says about it.
struct server_certificate_summary {
    std::int32_t days_to_expiration; ///< whole days from now; negative once expired
    std::int32_t public_key_length;  ///< bits
    bool self_signed;
    std::string common_name; ///< as its issuer wrote it, not necessarily UTF-8
    std::string thumbprint;  ///< SHA-1 as 40 lower-case hexadecimal digits
};

/// The nodes of one Read request, in order.
using read_list = std::vector<std::shared_ptr<generic_node_interface>>;

class client_interface {
  public:
    client_interface() = default;
    client_interface(const client_interface&) = delete;
    client_interface& operator=(const client_interface&) = delete;
    virtual ~client_interface() = default;

    /// What the client was made from; unchanged for its life.
    [[nodiscard]] virtual const client_settings& get_settings() const noexcept = 0;

    /// Whether the secure channel is open and the session activated, as far as is known without
    /// asking the server.
    [[nodiscard]] virtual bool is_connected() const = 0;

    /// Asks the server for its endpoints and whether one of them fits the settings.
    /// @return false when the endpoints cannot be fetched.
    /// @throws exceptions::opcua_matching_endpoint_failed when none fits; the log tells why each
    /// was rejected.
    /// @throws std::out_of_range for an endpoint whose mode or token type is no value of the
    /// standard.
    [[nodiscard]] virtual bool has_matching_endpoint() = 0;

    /// Connects unless the connection is up.
    /// @throws exceptions::opcua_connection_failed with the status name.
    /// @throws exceptions::opcua_request_failed when the client cannot be set up.
    virtual void ensure_connected() = 0;

    /// Asks the server for its endpoints and reads the certificate of the one that fits the
    /// settings; needs no session.
    /// @throws exceptions::opcua_discovery_failed with the status code in decimal when they cannot
    /// be fetched.
    /// @throws exceptions::opcua_matching_endpoint_failed, std::out_of_range as
    /// has_matching_endpoint.
    /// @throws exceptions::opcua_missing_certificate when the endpoint has none.
    /// @throws certificate_der_invalid for bytes that are no certificate; std::out_of_range, with a
    /// text that says so, without a common name.
    [[nodiscard]] virtual server_certificate_summary get_server_certificate() = 0;

    /// Writes the value that the node holds. The detail of opcua_write_failed names the node.
    /// @throws exceptions::prepare_request_failed for a node that is not writeable.
    /// @throws exceptions::opcua_write_failed with the status name; as ensure_connected.
    virtual void write_node_value(generic_node_interface& node) = 0;

    /// Reads one node: see the list form.
    virtual void read_node(const std::shared_ptr<generic_node_interface>& node) = 0;

    /// Reads all attributes that the nodes ask for with one Read request and hands each to its
    /// node. An empty list only connects. Nodes before the first error keep their new values; all
    /// others have none afterwards, and neither has a node for which the server had none.
    /// @throws exceptions::prepare_request_failed for a null or unreadable node; nothing is sent.
    /// The detail of an error of one node names it as its user wrote it, with the status.
    /// @throws exceptions::nodeid_unknown with the NodeID.
    /// @throws exceptions::opcua_read_failed with the status name of the node's result.
    /// @throws exceptions::opcua_request_failed with the status name when the whole request failed.
    /// @throws exceptions::opcua_connection_closed when the connection was closed again after the
    /// one retry.
    /// @throws exceptions::opcua_response_size_mismatch; as ensure_connected.
    virtual void read_node(const read_list& nodes) = 0;

    /// Adds a log that gets the client's lines up to a level; not owned. A null log is ignored.
    virtual void
    attach_logger(const std::shared_ptr<liblog::log_interface>& log, liblog::severity highest) = 0;

    /// Removes it again; a log that is not attached is ignored.
    virtual void detach_logger(const std::shared_ptr<liblog::log_interface>& log) = 0;
};

} // namespace tarvik::monitoring_modules::opcua
