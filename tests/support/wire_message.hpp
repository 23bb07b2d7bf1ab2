#pragma once

// As much of the protocol's messages as a test needs that stands between client and server: where
// each ends, what it asks for, and answers that are changed. Encrypted ones are left alone.

#include "tests/support/scripted_peer.hpp"

#include <string>
#include <string_view>

#include <open62541/types_generated.h>

namespace tarvik::monitoring_modules::test_support::wire {

/// Takes the first message out of the bytes of a connection; empty while it is not whole.
[[nodiscard]] std::string take_message(std::string& bytes);

/// What a client's message asks for.
[[nodiscard]] moment moment_of(std::string_view message);

void set_service_result(std::string& message, UA_StatusCode result);

/// Has an answer changed by the function that the script has for it, if it has one.
void rewrite_answer(std::string& message, const script& plan);

} // namespace tarvik::monitoring_modules::test_support::wire
