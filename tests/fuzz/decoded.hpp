#pragma once

// Values as the stack decodes them from the bytes of a message.

#include "opcua/ua_value.hpp"

#include <string_view>

#include <open62541/types_generated.h>

namespace tarvik::monitoring_modules::fuzz {

/// @tparam Value a ua_value
/// @param good false: the bytes are none
template <typename Value>
[[nodiscard]] Value decoded(std::string_view bytes, bool& good) {
    Value value;
    const UA_String borrowed = opcua::borrowed(bytes);
    good = UA_decodeBinary(&borrowed, &*value, value.type(), nullptr) == UA_STATUSCODE_GOOD;
    return good ? std::move(value) : Value{};
}

/// For answers: what cannot be decoded is what a client gets of it, a response that says so.
template <typename Response>
[[nodiscard]] Response decoded_answer(std::string_view bytes) {
    bool good = false;
    auto response = decoded<Response>(bytes, good);
    if (!good) {
        response->responseHeader.serviceResult = UA_STATUSCODE_BADDECODINGERROR;
    }
    return response;
}

} // namespace tarvik::monitoring_modules::fuzz
