#pragma once
// Turns the plant's options into a server of the stack: socket, endpoints, security, users, limits.

#include "simulator/certificate_maker.hpp"
#include "simulator/plant_options.hpp"
#include "simulator/session_list.hpp"
#include "simulator/stack_owners.hpp"

#include <cstdint>

#include <open62541/plugin/log.h>

namespace tarvik::simulator {

[[nodiscard]] bool needs_certificate(const plant_options& options) noexcept;

/// Makes a server that does not listen yet and has namespace 0 only.
/// @param port on 127.0.0.1
/// @param identity empty unless needs_certificate()
/// @param options must outlive the server where it does not trust all clients
/// @param logger, sessions must outlive the server; sessions becomes the configuration's
/// context
/// @throws plant_error when the stack refuses
[[nodiscard]] server_ptr make_server(
    const plant_options& options,
    std::uint16_t port,
    const server_identity& identity,
    UA_Logger& logger,
    session_list& sessions
);

} // namespace tarvik::simulator
