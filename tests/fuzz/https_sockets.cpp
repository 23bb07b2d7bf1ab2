// What a client of `serve` sends over TLS, changed on its way: its handshake and its request.
// Whatever comes of it, the next client is served.

#include "tests/exporter/http_client.hpp"
#include "tests/fuzz/session_peer.hpp"
#include "tests/fuzz/temporary_folder.hpp"
#include "tests/fuzz/web_site.hpp"
#include "tests/support/certificate_factory.hpp"
#include "tests/support/loopback.hpp"
#include <gnutls/gnutls.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::fuzz {

namespace {

/// Takes any certificate.
class tls_client {
  public:
    tls_client(std::uint16_t port, std::vector<change> changes)
        : client_{port},
          changes_{std::move(changes)} {
        require(client_.connected(), "the server serves");
        gnutls_session_t session = nullptr;
        gnutls_certificate_credentials_t credentials = nullptr;
        require(gnutls_init(&session, GNUTLS_CLIENT) == GNUTLS_E_SUCCESS, "a session");
        session_.reset(session);
        require(
            gnutls_certificate_allocate_credentials(&credentials) == GNUTLS_E_SUCCESS, "credentials"
        );
        credentials_.reset(credentials);
        gnutls_set_default_priority(session);
        gnutls_credentials_set(session, GNUTLS_CRD_CERTIFICATE, credentials);
        // Something changed may leave both sides waiting for each other.
        const unsigned patience = changes_.empty() ? 300'000 : 100; // milliseconds
        gnutls_handshake_set_timeout(session, patience);
        gnutls_record_set_timeout(session, patience);
        gnutls_transport_set_int2(session, client_.descriptor(), client_.descriptor());
        gnutls_transport_set_ptr2(session, gnutls_transport_get_ptr(session), this);
        gnutls_transport_set_push_function(session, push);
    }

    /// @return the beginning of the answer; empty without one
    [[nodiscard]] std::string ask(std::string_view request) {
        std::array<char, 4096> answer;
        ssize_t got = gnutls_handshake(session_.get());
        if (got == GNUTLS_E_SUCCESS) {
            gnutls_record_send(session_.get(), request.data(), request.size());
            got = gnutls_record_recv(session_.get(), answer.data(), answer.size());
        }
        return {answer.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0))};
    }

  private:
    static ssize_t push(gnutls_transport_ptr_t of, const void* bytes, std::size_t size) {
        auto& self = *static_cast<tls_client*>(of);
        std::string record{static_cast<const char*>(bytes), size};
        const std::size_t number = self.sent_++;
        for (const change& wish : self.changes_) {
            if (wish.message % 8 == number) {
                apply(wish, record, {});
            }
        }
        test_support::send_all(self.client_.descriptor(), record);
        return static_cast<ssize_t>(size);
    }

    template <auto release>
    struct releaser {
        void operator()(auto* handle) const noexcept { release(handle); }
    };

    probe::http_client client_;
    std::vector<change> changes_;
    std::size_t sent_ = 0;
    std::unique_ptr<
        std::remove_pointer_t<gnutls_certificate_credentials_t>,
        releaser<gnutls_certificate_free_credentials>>
        credentials_;
    std::unique_ptr<std::remove_pointer_t<gnutls_session_t>, releaser<gnutls_deinit>> session_;
};

} // namespace

void https_sockets(std::string_view input) {
    static const temporary_folder files;
    static const web_server server{[] {
        const auto request = test_support::application_request("urn:fuzz");
        probe::http_settings settings;
        settings.tls = probe::http_tls_files{
            files.write("cert.pem", make_certificate(request).pem),
            files.write("key.pem", private_key_pem(request.key))};
        return settings;
    }()};
    const std::string request = "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n";
    input_parts parts{input};
    if (tls_client{server.port(), read_changes(parts)}.ask(request).empty()) {
        const std::string answer = tls_client{server.port(), {}}.ask(request);
        require(answer.starts_with("HTTP/1.1 200"), "the next client is served");
    }
}

} // namespace tarvik::monitoring_modules::fuzz
