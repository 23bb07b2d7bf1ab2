#pragma once

// The client on the OPC UA stack. It connects on its first use, checks the connection before every
// use, and builds it anew when it is gone, may have missed its renewal, or has failed a request:
// whatever happens to a server between two scans costs no scan, and what happens during one costs
// that one.

#include "opcua/client/client_interface.hpp"
#include "opcua/client/client_services.hpp"
#include "opcua/client/unfinished_sessions.hpp"

#include <memory>

namespace tarvik::monitoring_modules::opcua {

class client_open62541 final : public client_interface {
  public:
    /// Does not connect yet.
    /// @param log the module's log, which gets all the client's lines; may be null.
    /// @param unfinished shared with the other clients of a module; null: the client's own.
    /// @param services exchanged by tests only.
    client_open62541(
        client_settings settings,
        const std::shared_ptr<liblog::log_interface>& log,
        std::shared_ptr<unfinished_sessions> unfinished = nullptr,
        client_services services = stack_services()
    );

    /// Tells the server good-bye; see ua_client.
    ~client_open62541() override;

    [[nodiscard]] const client_settings& get_settings() const noexcept override;
    [[nodiscard]] bool is_connected() const override;
    [[nodiscard]] bool has_matching_endpoint() override;
    void ensure_connected() override;
    [[nodiscard]] server_certificate_summary get_server_certificate() override;
    void write_node_value(generic_node_interface& node) override;
    void read_node(const std::shared_ptr<generic_node_interface>& node) override;
    void read_node(const read_list& nodes) override;
    void attach_logger(const std::shared_ptr<liblog::log_interface>& log, liblog::severity highest)
        override;
    void detach_logger(const std::shared_ptr<liblog::log_interface>& log) override;

  private:
    class implementation;
    std::unique_ptr<implementation> implementation_;
};

} // namespace tarvik::monitoring_modules::opcua
