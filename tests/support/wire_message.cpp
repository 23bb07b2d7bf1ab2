#include "tests/support/wire_message.hpp"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

#include <open62541/types_generated_handling.h>

namespace tarvik::monitoring_modules::test_support::wire {

namespace {

// OPC 10000-6, 6.7.2: a message begins with its type, "F" and its whole length; one of an open
// channel goes on with channel, token, sequence number and request, then the encoded request.
constexpr std::size_t header_size = 8;
constexpr std::size_t body_start = 24;
// The response header, behind the type's id, begins with time (8 bytes) and request handle (4).
constexpr std::size_t result_start = body_start + 4 + 8 + 4;

// The identifiers of the encodings, from the standard's NodeIds.csv; in the four-byte form.
constexpr std::uint16_t get_endpoints_response_id = 431;
constexpr std::uint16_t create_session_response_id = 464;
constexpr std::uint16_t read_response_id = 634;
const std::map<std::uint16_t, moment> moments_of_services{
    {422, moment::find_servers},
    {428, moment::get_endpoints},
    {461, moment::create_session},
    {467, moment::activate_session},
    {473, moment::close_session},
    {631, moment::read},
    {673, moment::write},
};

std::uint32_t number_at(std::string_view bytes, std::size_t offset) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + offset, sizeof number); // both are little-endian
    return number;
}

std::uint16_t service_of(std::string_view message) {
    constexpr std::size_t id_size = 4;
    if (!message.starts_with("MSG") || message.size() < body_start + id_size ||
        message[body_start] != 1) {
        return 0;
    }
    return static_cast<std::uint16_t>(number_at(message, body_start) >> 16U);
}

template <typename Response>
void rewrite(
    std::string& message, const std::function<void(Response&)>& change, const UA_DataType& type
) {
    if (!change) {
        return;
    }
    constexpr std::size_t response_start = body_start + 4;
    UA_ByteString bytes{
        message.size() - response_start,
        reinterpret_cast<UA_Byte*>(message.data() + response_start)};
    Response response;
    if (UA_decodeBinary(&bytes, &response, &type, nullptr) != UA_STATUSCODE_GOOD) {
        return;
    }
    change(response);
    UA_ByteString encoded = UA_BYTESTRING_NULL;
    if (UA_encodeBinary(&response, &type, &encoded) == UA_STATUSCODE_GOOD) {
        message.resize(response_start);
        message.append(reinterpret_cast<const char*>(encoded.data), encoded.length);
        const auto size = static_cast<std::uint32_t>(message.size());
        std::memcpy(message.data() + 4, &size, sizeof size);
    }
    UA_ByteString_clear(&encoded);
    UA_clear(&response, &type);
}

} // namespace

moment moment_of(std::string_view message) {
    if (message.starts_with("HEL")) {
        return moment::hello;
    }
    if (message.starts_with("OPN")) {
        return message.find("#None") != std::string_view::npos ? moment::opening
                                                               : moment::opening_secured;
    }
    const auto service = moments_of_services.find(service_of(message));
    if (service != moments_of_services.end()) {
        return service->second;
    }
    return message.starts_with("MSG") ? moment::unreadable : moment::never;
}

std::string take_message(std::string& bytes) {
    if (bytes.size() < header_size || bytes.size() < number_at(bytes, 4)) {
        return {};
    }
    const std::size_t size = std::max<std::size_t>(number_at(bytes, 4), header_size);
    std::string message = bytes.substr(0, size);
    bytes.erase(0, size);
    return message;
}

void set_service_result(std::string& message, UA_StatusCode result) {
    if (message.size() >= result_start + sizeof result) {
        std::memcpy(message.data() + result_start, &result, sizeof result);
    }
}

void rewrite_answer(std::string& message, const script& plan) {
    switch (service_of(message)) {
    case read_response_id:
        return rewrite(message, plan.rewrite, UA_TYPES[UA_TYPES_READRESPONSE]);
    case get_endpoints_response_id:
        return rewrite(message, plan.rewrite_endpoints, UA_TYPES[UA_TYPES_GETENDPOINTSRESPONSE]);
    case create_session_response_id:
        return rewrite(message, plan.rewrite_session, UA_TYPES[UA_TYPES_CREATESESSIONRESPONSE]);
    default:
        return;
    }
}

} // namespace tarvik::monitoring_modules::test_support::wire
