#include "tests/host/expect_error.hpp"
#include "tests/probe/serve/http_fixture.hpp"
#include "tests/support/certificate_factory.hpp"

#include <httplib.h>

#include <filesystem>
#include <fstream>
#include <list>

namespace tarvik::monitoring_modules::probe {
namespace {

using test_support::key_kind;
using testing::StartsWith;

class http_tls_test : public http_test {
  public:
    ~http_tls_test() override { std::filesystem::remove_all(folder_); }
    http_tls_test(const http_tls_test&) = delete;
    http_tls_test& operator=(const http_tls_test&) = delete;

  protected:
    http_tls_test() {
        std::string pattern = (std::filesystem::temp_directory_path() / "http-tls-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        write(
            "cert.pem",
            test_support::make_certificate(test_support::application_request("urn:x")).pem
        );
        write("key.pem", test_support::private_key_pem(key_kind::rsa));
        write("other.pem", test_support::private_key_pem(key_kind::other_rsa));
        write("locked.pem", test_support::private_key_pem(key_kind::rsa, "password"));
        write("text.pem", "no PEM");
        settings_.tls = {path("cert.pem"), path("key.pem")};
    }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream{folder_ / name} << text;
    }
    [[nodiscard]] std::string path(const std::string& name) const { return folder_ / name; }

    std::filesystem::path folder_;
};

TEST_F(http_tls_test, serves_over_tls) {
    settings_.limits.receive = std::chrono::milliseconds{500};
    start();
    std::list<http_client> silent;
    for (int i = 0; i < 10; ++i) {
        silent.emplace_back(port_); // no handshake ever
    }
    httplib::SSLClient client{"localhost", port_};
    client.set_address_family(AF_INET);
    client.set_ca_cert_path(path("cert.pem"));
    client.set_keep_alive(true);
    client.enable_server_certificate_verification(true);
    for (int i = 0; i < 3; ++i) {
        const auto result = client.Get("/page");
        ASSERT_TRUE(result) << httplib::to_string(result.error());
        EXPECT_THAT(result->body, StartsWith("GET /page from 127.0.0.1"));
        EXPECT_EQ(result->get_header_value("Strict-Transport-Security"), "max-age=31536000");
    }
    const auto big = client.Get("/big");
    ASSERT_TRUE(big);
    EXPECT_EQ(big->body.size(), big_size);
    httplib::SSLClient impatient{"localhost", port_};
    impatient.set_address_family(AF_INET);
    impatient.enable_server_certificate_verification(false);
    EXPECT_FALSE(impatient.Get("/big", [](const char*, std::size_t) { return false; }));
    EXPECT_EQ(ask(get("/")).find("HTTP"), std::string::npos) << "no plain answer";
    EXPECT_EQ(silent.front().receive(), "");
    EXPECT_TRUE(client.Get("/page"));
}

TEST_F(http_tls_test, tells_which_file_is_wrong) {
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"none.pem", "key.pem", "none.pem"},
        {"text.pem", "key.pem", "text.pem"},
        {"cert.pem", "none.pem", "none.pem"},
        {"cert.pem", "text.pem", "text.pem"},
        {"cert.pem", "locked.pem", "locked.pem"}, // and nobody is asked for the password
        {"cert.pem", "other.pem", "other.pem"},
    };
    for (const auto& [certificate, key, named] : rows) {
        settings_.tls = {path(certificate), path(key)};
        expect_error([this] { start(); }, exit_code::usage, named);
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
