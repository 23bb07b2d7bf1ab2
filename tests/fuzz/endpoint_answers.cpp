// Whole answers to GetEndpoints: which endpoint is chosen from them, and how they are shown.
// First byte: what the client wants, then the answer.

#include "common/catalogue/opcua_exceptions.hpp"
#include "explorer/endpoints.hpp"
#include "opcua/client/endpoint_selection.hpp"
#include "tests/fuzz/decoded.hpp"
#include "tests/fuzz/doors.hpp"

#include <array>
#include <chrono>

namespace tarvik::monitoring_modules::fuzz {

namespace {

constexpr std::string_view none = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr std::string_view basic = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

void choose(std::span<const UA_EndpointDescription> endpoints, unsigned wish) {
    const auto mode = static_cast<UA_MessageSecurityMode>(wish % 4);
    const opcua::endpoint_requirements requirements{
        mode,
        std::array{std::string_view{}, none, basic, std::string_view{}}.at(wish / 4 % 4),
        {none, basic},
        wish / 16 % 2 == 0 ? UA_USERTOKENTYPE_ANONYMOUS : UA_USERTOKENTYPE_USERNAME};
    tolerate([&] {
        const auto found = opcua::find_matching_endpoint(endpoints, requirements, nullptr);
        require(
            mode == UA_MESSAGESECURITYMODE_INVALID || found->securityMode == mode,
            "an endpoint has the mode that was asked for"
        );
    });
    if (const auto choice = opcua::choose_as_stack(endpoints, requirements)) {
        require(choice->endpoint >= endpoints.data(), "a choice is one of the list");
        require(
            choice->endpoint < endpoints.data() + endpoints.size(), "a choice is one of the list"
        );
        require(choice->token->tokenType == requirements.identity, "a token is of the user's kind");
    }
}

} // namespace

void endpoint_answers(std::string_view input) {
    static const auto certificates = libcertificatehelper::create_openssl_allocator();
    input_parts parts{input};
    const unsigned wish = parts.number();
    const auto response = decoded_answer<opcua::ua_get_endpoints_response>(parts.rest());
    const auto endpoints = opcua::elements(response->endpoints, response->endpointsSize);
    choose(endpoints, wish);
    const std::chrono::system_clock::time_point now{std::chrono::hours{24 * 365 * 56}};
    const probe::offer offer = probe::read_offer(endpoints, *certificates, now);
    require(!probe::offer_text(offer, now, false).empty(), "an offer is shown");
    static_cast<void>(probe::offer_json(offer));
}

} // namespace tarvik::monitoring_modules::fuzz
