#include "probe/serve/http/tls_context.hpp"

#include "host/probe_error.hpp"

#include <new>
#include <string>
#include <utility>

#include <openssl/err.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using tls_session = std::unique_ptr<SSL, tls_deleter<SSL_free>>;

class tls_transport final : public transport {
  public:
    tls_transport(file_descriptor& socket, tls_session session)
        : transport{socket},
          session_{std::move(session)} {}

    [[nodiscard]] io_state handshake() override {
        ERR_clear_error();
        return outcome(SSL_accept(session_.get()));
    }

    [[nodiscard]] io_result read(std::span<char> to) override {
        ERR_clear_error();
        std::size_t size = 0;
        const io_state state = outcome(SSL_read_ex(session_.get(), to.data(), to.size(), &size));
        return {state, size};
    }

    [[nodiscard]] io_result write(std::string_view bytes) override {
        ERR_clear_error();
        std::size_t size = 0;
        const io_state state =
            outcome(SSL_write_ex(session_.get(), bytes.data(), bytes.size(), &size));
        return {state, size};
    }

    void finish() noexcept override {
        ERR_clear_error();
        SSL_shutdown(session_.get());
    }

  private:
    [[nodiscard]] io_state outcome(int result) const {
        if (result > 0) {
            return io_state::done;
        }
        switch (SSL_get_error(session_.get(), result)) {
        case SSL_ERROR_WANT_READ:
            return io_state::want_read;
        case SSL_ERROR_WANT_WRITE:
            return io_state::want_write;
        default:
            return io_state::closed;
        }
    }

    tls_session session_;
};

[[nodiscard]] std::string last_reason() {
    const char* const reason = ERR_reason_error_string(ERR_peek_last_error());
    return reason == nullptr ? "" : std::string{": "} + reason;
}

void check(bool good, const std::string& problem) {
    if (!good) {
        throw probe_error{exit_code::usage, "TLS of the web page: " + problem + last_reason()};
    }
}

/// A key that needs a password is an error; nobody is asked for one at the terminal.
int no_password(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*data*/) {
    return -1;
}

} // namespace

tls_context::tls_context(const http_tls_files& files) : context_{SSL_CTX_new(TLS_server_method())} {
    ERR_clear_error();
    check(context_ != nullptr, "not available");
    SSL_CTX* const context = context_.get();
    SSL_CTX_set_default_passwd_cb(context, no_password);
    check(
        SSL_CTX_use_certificate_chain_file(context, files.certificate.c_str()) == 1,
        "the certificate \"" + files.certificate + "\" is unusable"
    );
    check(
        SSL_CTX_use_PrivateKey_file(context, files.key.c_str(), SSL_FILETYPE_PEM) == 1,
        "the key \"" + files.key + "\" is unusable"
    );
    check(SSL_CTX_check_private_key(context) == 1, "certificate and key do not belong together");
    check(
        SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION) == 1 &&
            SSL_CTX_set_cipher_list(context, "ECDHE+AESGCM:ECDHE+CHACHA20") == 1,
        "not available"
    );
    SSL_CTX_set_options(
        context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE
    );
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    // An answer is written in pieces, and connections that wait should cost little memory.
    SSL_CTX_set_mode(
        context,
        SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER |
            SSL_MODE_RELEASE_BUFFERS
    );
}

std::unique_ptr<transport> tls_context::make_transport(file_descriptor& socket) const {
    tls_session session{SSL_new(context_.get())};
    if (session == nullptr || SSL_set_fd(session.get(), socket.get()) != 1) {
        throw std::bad_alloc{};
    }
    return std::make_unique<tls_transport>(socket, std::move(session));
}

} // namespace tarvik::monitoring_modules::probe
