// Which clients the server trusts, and what its certificate looks like from outside.

#include "simulator/openssl_owners.hpp"
#include "simulator/plant_server.hpp"
#include "tests/simulator/test_client.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tarvik::simulator {
namespace {

constexpr auto sign_encrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
constexpr endpoint_modes all_modes{.none = true, .sign = true, .sign_encrypt = true};

const plant_options secured{.users = true, .endpoints = all_modes};
constexpr UA_StatusCode good = UA_STATUSCODE_GOOD;
constexpr UA_StatusCode no_trust = UA_STATUSCODE_BADSECURITYCHECKSFAILED;

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

void expect_at_the_endpoints(const certificate_options& wanted) {
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

TEST(server_certificates, show_their_options_at_the_endpoints) {
    for (const certificate_options& wanted :
         {certificate_options{},
          {.key_bits = 1024},
          {.key_bits = 4096},
          {.expired = true},
          {.issuer = certificate_issuer::test_ca},
          {.common_name = false}}) {
        expect_at_the_endpoints(wanted);
    }
}

TEST(server_certificates, are_made_only_when_needed_and_only_if_possible) {
    EXPECT_TRUE(plant_server{}.certificate().empty());
    EXPECT_TRUE(plant_server{{.users = true}}.certificate().empty());
    EXPECT_FALSE((plant_server{{.users = true, .encrypt_passwords = true}}.certificate().empty()));
    plant_options odd_key = secured;
    odd_key.certificate.key_bits = 512;
    EXPECT_THROW(plant_server{odd_key}, plant_error);
    plant_options odd_uri = secured;
    odd_uri.application_uri = "urn:a,b";
    EXPECT_THROW(plant_server{odd_uri}, plant_error);
}

} // namespace
} // namespace tarvik::simulator
