// Makes the seeds that nobody can write by hand, into the folder that is named:
//
//     make_seeds FOLDER

#include "libcertificatehelper/bytes.hpp"
#include "opcua/ua_value.hpp"
#include "tests/support/certificate_factory.hpp"

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <open62541/types_generated_handling.h>

namespace {

using namespace tarvik::monitoring_modules;
using opcua::borrowed;
using opcua::ua_value;

std::filesystem::path root; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

void keep(const std::string& door, const std::string& name, std::string_view bytes) {
    std::filesystem::create_directories(root / door);
    std::ofstream{root / door / name, std::ios::binary} << bytes;
}

template <typename T>
std::string encoded(const T& value, std::size_t type) {
    opcua::ua_string bytes;
    static_cast<void>(UA_encodeBinary(&value, &UA_TYPES[type], bytes.out()));
    return std::string{opcua::view_of(*bytes)};
}

/// @return with its length before it
std::string part(std::string_view bytes) {
    const std::array size{
        static_cast<char>(bytes.size() & 0xffU), static_cast<char>(bytes.size() >> 8U)};
    return std::string{size.data(), size.size()}.append(bytes);
}

std::string text_of(const test_support::byte_vector& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// Borrows the value.
template <typename T>
UA_Variant variant_of(T& value, std::size_t type, std::size_t length = 0) {
    UA_Variant variant{};
    variant.type = &UA_TYPES[type];
    variant.data = &value;
    variant.arrayLength = length;
    return variant;
}

std::string data_value(const UA_Variant& value, UA_StatusCode status = UA_STATUSCODE_GOOD) {
    UA_DataValue result{};
    result.hasValue = status == UA_STATUSCODE_GOOD;
    result.value = value;
    result.hasStatus = true;
    result.status = status;
    return encoded(result, UA_TYPES_DATAVALUE);
}

void make_values() {
    std::array<UA_Double, 3> numbers{1.5, -2, 1e300};
    UA_UInt64 large = 0x8000000000000000U;
    UA_LocalizedText text{borrowed("en"), borrowed("Valve open")};
    UA_QualifiedName name{2, borrowed("Temp")};
    UA_EnumValueType word{};
    word.value = 11;
    UA_DateTime time = 132'000'000'000'000'000;
    UA_Boolean on = true;
    UA_String plain = borrowed("12.5 °C");
    UA_Variant inner = variant_of(on, UA_TYPES_BOOLEAN);
    const std::vector<UA_Variant> all{
        variant_of(numbers[0], UA_TYPES_DOUBLE),
        variant_of(numbers[0], UA_TYPES_DOUBLE, 3),
        variant_of(large, UA_TYPES_UINT64),
        variant_of(text, UA_TYPES_LOCALIZEDTEXT),
        variant_of(name, UA_TYPES_QUALIFIEDNAME),
        variant_of(word, UA_TYPES_ENUMVALUETYPE),
        variant_of(time, UA_TYPES_DATETIME),
        variant_of(on, UA_TYPES_BOOLEAN),
        variant_of(plain, UA_TYPES_STRING),
        variant_of(inner, UA_TYPES_VARIANT, 1)};
    std::string fitting;
    for (std::size_t i = 0; i < all.size(); ++i) {
        keep(
            "values", all[i].type->typeName + std::to_string(i), encoded(all[i], UA_TYPES_VARIANT)
        );
        fitting += part(data_value(all[i]));
    }
    // For a custom sensor: names, description and value of each node, then values alone.
    std::string answers;
    for (int i = 0; i < 12; ++i) {
        answers += part(data_value(all[4])) + part(data_value(all[3])) + part(data_value(all[3])) +
                   part(data_value(all[i % 2 == 0 ? 0 : 9]));
    }
    keep("read_answers", "names_and_numbers", "\x05" + answers);
    keep("read_answers", "every_type", "\x4f" + fitting + fitting + fitting);
    for (const char kind : {'\x01', '\x03'}) { // with numbers for all that these sensors read
        std::string plain_numbers;
        for (int i = 0; i < 120; ++i) {
            plain_numbers += part(data_value(all[i % 3 == 2 ? 6 : 5]));
        }
        keep("read_answers", "kind" + std::to_string(kind), kind + plain_numbers);
    }
    UA_ReadResponse response{};
    std::array<UA_DataValue, 4> results{};
    for (UA_DataValue& result : results) {
        result.hasValue = true;
        result.value = variant_of(text, UA_TYPES_LOCALIZEDTEXT);
    }
    results[3].value = variant_of(numbers[0], UA_TYPES_DOUBLE);
    response.results = results.data();
    response.resultsSize = results.size();
    const std::string whole = part(encoded(response, UA_TYPES_READRESPONSE));
    keep("read_answers", "whole", std::string("\x04") + whole + whole + whole);
}

void make_endpoints(const std::string& der) {
    UA_UserTokenPolicy tokens[2]{};
    tokens[0].policyId = borrowed("anonymous");
    tokens[1].tokenType = UA_USERTOKENTYPE_USERNAME;
    tokens[1].securityPolicyUri =
        borrowed("http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256");
    UA_EndpointDescription endpoints[2]{};
    for (UA_EndpointDescription& endpoint : endpoints) {
        endpoint.endpointUrl = borrowed("opc.tcp://127.0.0.1:4840/");
        endpoint.serverCertificate = borrowed(der);
        endpoint.userIdentityTokens = tokens;
        endpoint.userIdentityTokensSize = 2;
        endpoint.transportProfileUri =
            borrowed("http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary");
    }
    endpoints[0].securityMode = UA_MESSAGESECURITYMODE_NONE;
    endpoints[0].securityPolicyUri = borrowed("http://opcfoundation.org/UA/SecurityPolicy#None");
    endpoints[1].securityMode = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
    endpoints[1].securityPolicyUri = tokens[1].securityPolicyUri;
    endpoints[1].securityLevel = 3;
    UA_GetEndpointsResponse response{};
    response.endpoints = endpoints;
    response.endpointsSize = 2;
    const std::string bytes = encoded(response, UA_TYPES_GETENDPOINTSRESPONSE);
    for (const char wish : {'\x00', '\x05', '\x1b'}) {
        keep("endpoint_answers", "wish" + std::to_string(wish), wish + bytes);
    }
}

void make_browsing() {
    UA_ReferenceDescription references[2]{};
    for (UA_UInt32 i = 0; i < 2; ++i) {
        references[i].nodeId.nodeId = UA_NODEID_NUMERIC(2, 100 + i);
        references[i].nodeClass = i == 0 ? UA_NODECLASS_OBJECT : UA_NODECLASS_VARIABLE;
        references[i].browseName = {2, borrowed("Pump")};
        references[i].displayName = {borrowed("en"), borrowed("Pump")};
    }
    UA_BrowseResult result{};
    result.references = references;
    result.referencesSize = 2;
    const std::string page = part(encoded(result, UA_TYPES_BROWSERESULT));
    result.continuationPoint = borrowed("more");
    const std::string first = part(encoded(result, UA_TYPES_BROWSERESULT));
    UA_UInt32 limit = 100;
    const std::string number = part(data_value(variant_of(limit, UA_TYPES_UINT32)));
    UA_QualifiedName name{2, borrowed("Pump")};
    const std::string named = part(data_value(variant_of(name, UA_TYPES_QUALIFIEDNAME)));
    std::string values;
    for (int i = 0; i < 20; ++i) {
        values += number;
    }
    const std::string start(1, '\x00');
    keep(
        "browse_answers", "one", start + number + number + number + named + number + page + values
    );
    keep(
        "browse_answers",
        "pages",
        start + values.substr(0, 3 * number.size()) + named + number + first + page + page + page +
            values
    );
}

void make_certificates() {
    using namespace test_support;
    auto request = application_request("urn:tarvik:simulator");
    request.key = key_kind::ec;
    request.extensions.emplace_back("crlDistributionPoints", "URI:http://plant.example/list.crl");
    const made_certificate own = make_certificate(request);
    const made_certificate authority = make_certificate(
        {.common_names = {"plant", "two"},
         .organization = "Plant",
         .key = key_kind::ec,
         .extensions =
             {{"basicConstraints", "critical,CA:TRUE"},
              {"keyUsage", "critical,keyCertSign,cRLSign"}}}
    );
    auto issued_request = application_request("urn:tarvik:simulator");
    issued_request.key = key_kind::ed25519;
    issued_request.issuer = &authority;
    issued_request.alternative_names.push_back({name_kind::ip_address, std::string(16, '\x01')});
    issued_request.alternative_names.push_back({name_kind::email, "a@plant.example"});
    const made_certificate issued = make_certificate(issued_request);
    const made_crl list = make_crl({.issuer = authority, .revoked = {issued}});
    for (const auto& [name, der, pem] :
         {std::tuple{"own", text_of(own.der), own.pem},
          {"authority", text_of(authority.der), authority.pem},
          {"issued", text_of(issued.der), issued.pem},
          {"list", text_of(list.der), list.pem}}) {
        keep("certificates", std::string{name} + ".der", der);
        keep("certificates", std::string{name} + ".pem", pem);
    }
    keep("certificates", "key.pem", private_key_pem(key_kind::ec));
    keep("certificates", "locked_key.pem", private_key_pem(key_kind::ed25519, "password"));
    const std::string chain = text_of(issued.der) + text_of(authority.der);
    const std::string known = part(text_of(authority.der));
    const std::string revoked = part(text_of(list.der));
    for (const char trusted : {'\x00', '\x01', '\x02', '\x05'}) {
        const std::string name = std::to_string(trusted);
        keep("trust_lists", "chain" + name, trusted + part(chain) + known + revoked);
        keep("trust_lists", "own" + name, trusted + part(own.pem) + part("") + part(list.pem));
    }
    make_endpoints(text_of(own.der));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        return 64;
    }
    root = arguments[1];
    make_values();
    make_browsing();
    make_certificates();
    return 0;
}
