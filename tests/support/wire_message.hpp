#pragma once

// As much of the protocol's messages as a test needs that stands between client and server: where
// each ends, what it asks for, and answers that are changed. Encrypted ones are left alone.

#include "tests/support/scripted_peer.hpp"

#include <functional>
#include <string>
#include <string_view>

#include <open62541/types_generated.h>

namespace tarvik::monitoring_modules::test_support::wire {

/// Takes the first message out of the bytes of a connection; empty while it is not whole.
[[nodiscard]] std::string take_message(std::string& bytes);

/// What a client's message asks for.
[[nodiscard]] moment moment_of(std::string_view message);

void set_service_result(std::string& message, UA_StatusCode result);

/// No effect on anything but an answer to Read.
void rewrite_read_response(
    std::string& message, const std::function<void(UA_ReadResponse&)>& rewrite
);

} // namespace tarvik::monitoring_modules::test_support::wire
