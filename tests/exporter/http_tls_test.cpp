#include "tests/exporter/http_fixture.hpp"
#include "tests/host/expect_error.hpp"
#include "tests/support/certificate_factory.hpp"
#include <gnutls/gnutls.h>

#include <filesystem>
#include <fstream>
#include <list>

namespace tarvik::monitoring_modules::probe {
namespace {

using test_support::key_kind;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// Takes any certificate.
class tls_client final {
  public:
    explicit tls_client(std::uint16_t port, const char* priorities = "NORMAL") : client_{port} {
        gnutls_init(&session_, GNUTLS_CLIENT);
        gnutls_certificate_allocate_credentials(&credentials_);
        EXPECT_EQ(gnutls_priority_set_direct(session_, priorities, nullptr), GNUTLS_E_SUCCESS);
        gnutls_credentials_set(session_, GNUTLS_CRD_CERTIFICATE, credentials_);
        gnutls_transport_set_int(session_, client_.descriptor());
        gnutls_handshake_set_timeout(session_, 20'000);
        gnutls_record_set_timeout(session_, 20'000);
    }
    ~tls_client() {
        gnutls_deinit(session_);
        gnutls_certificate_free_credentials(credentials_);
    }
    tls_client(const tls_client&) = delete;
    tls_client& operator=(const tls_client&) = delete;

    /// @return what comes until the server closes, or until the text is there
    [[nodiscard]] std::string ask(std::string_view request, std::string_view until = "\x01") {
        std::string answer;
        if (!connected_ && gnutls_handshake(session_) != GNUTLS_E_SUCCESS) {
            return answer;
        }
        connected_ = true;
        gnutls_record_send(session_, request.data(), request.size());
        std::array<char, 16384> block{};
        while (answer.size() < until.size() ||
               answer.find(until, answer.size() - std::min(answer.size(), block.size())) ==
                   std::string::npos) {
            const ssize_t got = gnutls_record_recv(session_, block.data(), block.size());
            if (got <= 0) {
                break;
            }
            answer.append(block.data(), static_cast<std::size_t>(got));
        }
        return answer;
    }

    /// @return what the server shows, in DER
    [[nodiscard]] std::string certificate() {
        unsigned int count = 0;
        if (!connected_ && gnutls_handshake(session_) != GNUTLS_E_SUCCESS) {
            return {};
        }
        connected_ = true;
        const gnutls_datum_t* const shown = gnutls_certificate_get_peers(session_, &count);
        return count == 0 ? std::string{}
                          : std::string{reinterpret_cast<const char*>(shown->data), shown->size};
    }

  private:
    http_client client_;
    gnutls_session_t session_ = nullptr;
    gnutls_certificate_credentials_t credentials_ = nullptr;
    bool connected_ = false;
};

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
    settings_.limits.silence = std::chrono::seconds{1};
    start();
    std::list<http_client> silent;
    for (int i = 0; i < 10; ++i) {
        silent.emplace_back(port_); // no handshake ever
    }
    const std::string request = "GET /page HTTP/1.1\r\nHost: localhost\r\n\r\n";
    tls_client client{port_};
    for (int i = 0; i < 3; ++i) {
        const std::string answer = client.ask(request, "GET /page -");
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
        EXPECT_THAT(answer, HasSubstr("Strict-Transport-Security: max-age=31536000\r\n"));
    }
    EXPECT_GT(client.ask(get("/big")).size(), big_size);
    // Of two requests in one record of TLS, the second one is there, but not on the socket.
    const std::string padding = "X: " + std::string(6'000, 'a') + "\r\n";
    std::string both = request;
    both.insert(both.size() - 2, padding);
    EXPECT_THAT(
        tls_client{port_}.ask(both + get("/second"), "GET /second"),
        AllOf(HasSubstr("GET /page"), HasSubstr("GET /second"))
    );
    static_cast<void>(tls_client{port_}.ask(get("/big"), "xxx")); // and goes away
    EXPECT_EQ(ask(get("/")).find("HTTP"), std::string::npos) << "no plain answer";
    silent.front().receive("nothing such");
    EXPECT_TRUE(silent.front().closed());
    EXPECT_THAT(tls_client{port_}.ask(get("/page")), HasSubstr("GET /page"));
}

TEST_F(http_tls_test, speaks_no_old_version) {
    start();
    for (const auto& [priorities, good] : std::vector<std::pair<const char*, bool>>{
             {"NORMAL:-VERS-ALL:+VERS-TLS1.3", true},
             {"NORMAL:-VERS-ALL:+VERS-TLS1.2", true},
             {"NORMAL:-VERS-ALL:+VERS-TLS1.2:-KX-ALL:+RSA", false},
             {"NORMAL:-VERS-ALL:+VERS-TLS1.1:+VERS-TLS1.0:%COMPAT", false}}) {
        tls_client client{port_, priorities};
        EXPECT_EQ(client.ask(get("/page")).find("GET /page") != std::string::npos, good)
            << priorities;
    }
}

TEST_F(http_tls_test, reads_its_files_again) {
    start();
    tls_client early{port_};
    const std::string first = early.certificate();
    ASSERT_FALSE(first.empty());
    const auto next = test_support::make_certificate(test_support::application_request("urn:y"));
    write("cert.pem", next.pem);
    EXPECT_EQ(tls_client{port_}.certificate(), first) << "not before it is told to";
    server_->renew_tls();
    const std::string shown{reinterpret_cast<const char*>(next.der.data()), next.der.size()};
    EXPECT_EQ(tls_client{port_}.certificate(), shown);
    EXPECT_THAT(early.ask(get("/page")), HasSubstr("GET /page")) << "who was there stays";
    write("key.pem", "no PEM");
    expect_error([this] { server_->renew_tls(); }, exit_code::usage, "key.pem");
    EXPECT_EQ(tls_client{port_}.certificate(), shown) << "files that are wrong change nothing";
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
