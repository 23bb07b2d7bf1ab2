// Who may log in over which endpoint, and what the server's certificate looks like from outside.

#include "simulator/openssl_owners.hpp"
#include "simulator/plant_server.hpp"
#include "tests/simulator/test_client.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tarvik::simulator {
namespace {

constexpr auto none = UA_MESSAGESECURITYMODE_NONE;
constexpr auto sign = UA_MESSAGESECURITYMODE_SIGN;
constexpr auto sign_encrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
constexpr endpoint_modes all_modes{.none = true, .sign = true, .sign_encrypt = true};

struct login_case {
    const char* name;
    plant_options options;
    login as;
    UA_StatusCode expected;
};

// NOLINTNEXTLINE(readability-identifier-naming): GoogleTest's name
void PrintTo(const login_case& row, std::ostream* out) {
    *out << row.name;
}

class logging_in : public testing::TestWithParam<login_case> {};

TEST_P(logging_in, is_accepted_or_refused) {
    plant_server plant{GetParam().options};
    plant.start();
    test_client client{std::chrono::seconds{3}};
    const UA_StatusCode status = client.connect(plant.endpoint_url(), GetParam().as);
    EXPECT_EQ(status, GetParam().expected) << UA_StatusCode_name(status);
    const bool accepted = GetParam().expected == UA_STATUSCODE_GOOD;
    // The stack's own client leaves a session behind when its login is refused.
    const bool has_session = accepted || GetParam().expected == UA_STATUSCODE_BADUSERACCESSDENIED;
    EXPECT_EQ(plant.session_count(), has_session ? 1U : 0U);
    if (accepted) {
        EXPECT_EQ(client.read("ns=2;s=Text.Status"), UA_STATUSCODE_GOOD);
    }
}

const plant_options open_plant{};
const plant_options plain_users{.users = true};
const plant_options users_only{.anonymous = false, .users = true};
const plant_options encrypted_users{.users = true, .encrypt_passwords = true};
const plant_options secured{.users = true, .endpoints = all_modes};
const plant_options encrypted_only{.endpoints = {.none = false, .sign_encrypt = true}};
const plant_options distrusting{.endpoints = all_modes, .trust_clients = false};
const plant_options long_key{
    .endpoints = {.sign_encrypt = true},
    .certificate = {.key_bits = 4096, .expired = true, .issuer = certificate_issuer::test_ca}};
constexpr UA_StatusCode good = UA_STATUSCODE_GOOD;
constexpr UA_StatusCode denied = UA_STATUSCODE_BADUSERACCESSDENIED;
constexpr UA_StatusCode no_token = UA_STATUSCODE_BADIDENTITYTOKENREJECTED;
constexpr UA_StatusCode no_trust = UA_STATUSCODE_BADSECURITYCHECKSFAILED;
const login user1{none, "user1", "password1"};

INSTANTIATE_TEST_SUITE_P(
    plants,
    logging_in,
    testing::Values(
        login_case{"anonymous", open_plant, {}, good},
        login_case{"user_where_there_are_none", open_plant, user1, no_token},
        login_case{"user", plain_users, user1, good},
        login_case{"anonymous_beside_users", plain_users, {}, good},
        login_case{"wrong_password", plain_users, {none, "user1", "password2"}, denied},
        login_case{"empty_password", plain_users, {none, "user1", ""}, denied},
        login_case{"unknown_user", plain_users, {none, "user2", "password1"}, denied},
        login_case{"anonymous_where_users_only", users_only, {}, no_token},
        login_case{"user_where_users_only", users_only, user1, good},
        login_case{"encrypted_password", encrypted_users, user1, good},
        login_case{
            "wrong_encrypted_password", encrypted_users, {none, "user1", "password2"}, denied},
        login_case{"none_beside_secured", secured, user1, good},
        login_case{"signed", secured, {sign}, good},
        login_case{"signed_user", secured, {sign, "user1", "password1"}, good},
        login_case{"signed_wrong_password", secured, {sign, "user1", "x"}, denied},
        login_case{"encrypted", secured, {sign_encrypt}, good},
        login_case{"encrypted_user", secured, {sign_encrypt, "user1", "password1"}, good},
        login_case{"none_where_encrypted_only", encrypted_only, {}, no_token},
        login_case{"encrypted_where_encrypted_only", encrypted_only, {sign_encrypt}, good},
        login_case{"untrusted_client", distrusting, {sign_encrypt}, no_trust},
        login_case{"none_needs_no_trust", distrusting, {}, good},
        login_case{"long_expired_key_of_a_ca", long_key, {sign_encrypt}, good}
    ),
    [](const auto& row) { return std::string{row.param.name}; }
);

TEST(trusted_clients, are_those_of_a_folder) {
    std::string pattern = testing::TempDir() + "clients_XXXXXX";
    const std::filesystem::path folder = mkdtemp(pattern.data());
    const server_identity own = make_identity({}, "urn:tarvik:test", "test client");
    plant_server plant{{.endpoints = all_modes, .trusted_clients = folder}};
    plant.start();
    const auto connect = [&](const login& as) {
        return test_client{std::chrono::seconds{3}}.connect(plant.endpoint_url(), as);
    };
    const login as_own{sign_encrypt, nullptr, nullptr, &own};
    EXPECT_EQ(connect(as_own), no_trust);
    EXPECT_EQ(connect({}), good) << "no certificate, no trust needed";
    std::ofstream{folder / "own.der", std::ios::binary}.write(
        reinterpret_cast<const char*>(own.certificate.data()),
        static_cast<std::streamsize>(own.certificate.size())
    );
    EXPECT_EQ(connect(as_own), good);
    EXPECT_EQ(connect({sign_encrypt}), no_trust) << "another certificate";
    std::filesystem::remove_all(folder);
    EXPECT_EQ(connect(as_own), no_trust);
}

struct certificate_case {
    const char* name;
    certificate_options options;
};

// NOLINTNEXTLINE(readability-identifier-naming): GoogleTest's name
void PrintTo(const certificate_case& row, std::ostream* out) {
    *out << row.name;
}

class server_certificate : public testing::TestWithParam<certificate_case> {};

TEST_P(server_certificate, shows_its_options_at_the_endpoint) {
    const certificate_options& wanted = GetParam().options;
    plant_server plant{{.endpoints = all_modes, .certificate = wanted}};
    plant.start();
    test_client client;
    UA_EndpointDescription* found = nullptr;
    std::size_t count = 0;
    ASSERT_EQ(
        UA_Client_getEndpoints(client.get(), plant.endpoint_url().c_str(), &count, &found),
        UA_STATUSCODE_GOOD
    );
    const std::vector<UA_EndpointDescription> endpoints{found, found + count};
    std::vector<der_bytes> certificates;
    for (const UA_EndpointDescription& endpoint : endpoints) {
        const UA_ByteString& der = endpoint.serverCertificate;
        certificates.emplace_back(der.data, der.data + der.length);
    }
    UA_Array_delete(found, count, &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]);
    EXPECT_EQ(certificates, std::vector(3, plant.certificate()));

    const unsigned char* der = certificates.at(0).data();
    const x509_ptr parsed{d2i_X509(nullptr, &der, static_cast<long>(certificates[0].size()))};
    ASSERT_TRUE(parsed);
    X509* certificate = parsed.get();
    EVP_PKEY* key = X509_get0_pubkey(certificate);
    EXPECT_EQ(EVP_PKEY_get_bits(key), static_cast<int>(wanted.key_bits));
    EXPECT_EQ(X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0, wanted.expired);
    EXPECT_LT(X509_cmp_current_time(X509_get0_notBefore(certificate)), 0);
    const bool self_signed = wanted.issuer == certificate_issuer::self_signed;
    EXPECT_EQ(X509_verify(certificate, key) == 1, self_signed);
    X509_NAME* subject = X509_get_subject_name(certificate);
    const X509_NAME* issuer = X509_get_issuer_name(certificate);
    EXPECT_EQ(X509_NAME_cmp(subject, issuer) == 0, self_signed);
    EXPECT_EQ(X509_NAME_get_index_by_NID(subject, NID_commonName, -1) >= 0, wanted.common_name);
    EXPECT_GE(X509_NAME_entry_count(subject), 1);
    EXPECT_EQ(X509_check_ip_asc(certificate, "127.0.0.1", 0), 1);
}

INSTANTIATE_TEST_SUITE_P(
    kinds,
    server_certificate,
    testing::Values(
        certificate_case{"plain", {}},
        certificate_case{"short_key", {.key_bits = 1024}},
        certificate_case{"long_key", {.key_bits = 4096}},
        certificate_case{"expired", {.expired = true}},
        certificate_case{"of_a_ca", {.issuer = certificate_issuer::test_ca}},
        certificate_case{"nameless", {.common_name = false}}
    ),
    [](const auto& row) { return std::string{row.param.name}; }
);

TEST(server_certificates, are_made_only_when_needed_and_only_if_possible) {
    EXPECT_TRUE(plant_server{}.certificate().empty());
    EXPECT_TRUE(plant_server{plain_users}.certificate().empty());
    EXPECT_FALSE(plant_server{encrypted_users}.certificate().empty());
    plant_options odd_key = secured;
    odd_key.certificate.key_bits = 512;
    EXPECT_THROW(plant_server{odd_key}, plant_error);
    plant_options odd_uri = secured;
    odd_uri.application_uri = "urn:a,b";
    EXPECT_THROW(plant_server{odd_uri}, plant_error);
}

} // namespace
} // namespace tarvik::simulator
