#include "exporter/http/listening.hpp"

#include "host/probe_error.hpp"
#include "host/secret_file.hpp"
#include "text/number.hpp"
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <netdb.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr int backlog = 128;

using address_list = std::unique_ptr<addrinfo, releaser<freeaddrinfo>>;

[[nodiscard]] address_list resolve(const std::string& address, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (result != 0) {
        throw probe_error{
            exit_code::usage,
            "Cannot listen on \"" + address + "\": " + std::string{gai_strerror(result)}};
    }
    return address_list{found};
}

void switch_option(int socket, int level, int option, int value) noexcept {
    setsockopt(socket, level, option, &value, sizeof value);
}

using private_key = std::unique_ptr<gnutls_privkey_st, releaser<gnutls_privkey_deinit>>;
using credentials = std::unique_ptr<
    std::remove_pointer_t<gnutls_certificate_credentials_t>,
    releaser<gnutls_certificate_free_credentials>>;

template <typename Owner>
[[nodiscard]] Owner made(int (*make)(typename Owner::pointer*)) {
    typename Owner::pointer raw = nullptr;
    if (make(&raw) != GNUTLS_E_SUCCESS) {
        throw std::bad_alloc{};
    }
    return Owner{raw};
}

/// The library takes bytes as not constant, but leaves them as they are.
[[nodiscard]] gnutls_datum_t bytes_of(std::string& text) {
    return {reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned>(text.size())};
}

void check(int result, const std::string& problem) {
    if (result < 0) {
        throw probe_error{
            exit_code::usage, "TLS of the web page: " + problem + ": " + gnutls_strerror(result)};
    }
}

} // namespace

listening_socket::listening_socket(const std::string& address, std::uint16_t port) {
    const address_list addresses = resolve(address, port);
    const auto check = [&](bool good) {
        if (!good) {
            throw probe_error{
                exit_code::not_loaded,
                "Cannot listen on \"" + address + "\", port " + std::to_string(port) + ": " +
                    std::generic_category().message(errno)};
        }
    };
    file_descriptor made{
        ::socket(addresses->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    check(made.get() >= 0);
    // Connections of a former run may still be closing; another listener is an error all the same.
    switch_option(made.get(), SOL_SOCKET, SO_REUSEADDR, 1);
    if (addresses->ai_family == AF_INET6) {
        switch_option(made.get(), IPPROTO_IPV6, IPV6_V6ONLY, 0);
    }
    check(::bind(made.get(), addresses->ai_addr, addresses->ai_addrlen) == 0);
    check(::listen(made.get(), backlog) == 0);
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    auto* const raw = reinterpret_cast<sockaddr*>(&bound);
    check(getsockname(made.get(), raw, &size) == 0);
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> digits{};
    constexpr int numeric = NI_NUMERICHOST | NI_NUMERICSERV;
    const int result =
        getnameinfo(raw, size, host.data(), host.size(), digits.data(), digits.size(), numeric);
    check(result == 0);
    address_ = host.data();
    port_ = parse_number<std::uint16_t>(digits.data()).value_or(0);
    socket_.swap(made);
}

tls_identity::tls_identity(const http_tls_files& files)
    : key_{made<private_key>(gnutls_privkey_init)} {
    std::string certificate = read_file(files.certificate);
    std::string key = read_file(files.key);
    const gnutls_datum_t certificate_bytes = bytes_of(certificate);
    const gnutls_datum_t key_bytes = bytes_of(key);
    check(
        gnutls_privkey_import_x509_raw(key_.get(), &key_bytes, GNUTLS_X509_FMT_PEM, nullptr, 0),
        "the key \"" + files.key + "\" is unusable"
    );
    // Credentials are made only to see whether the two belong together.
    const auto both = made<credentials>(gnutls_certificate_allocate_credentials);
    const std::string unusable = "the certificate \"" + files.certificate +
                                 "\" is unusable with the key \"" + files.key + "\"";
    check(
        gnutls_certificate_set_x509_key_mem2(
            both.get(), &certificate_bytes, &key_bytes, GNUTLS_X509_FMT_PEM, nullptr, 0
        ),
        unusable
    );
    auto count = static_cast<unsigned>(room_.size());
    check(
        gnutls_pcert_list_import_x509_raw(
            room_.data(), &count, &certificate_bytes, GNUTLS_X509_FMT_PEM, 0
        ),
        unusable
    );
    chain_ = std::span{room_}.first(count);
}

tls_identity::~tls_identity() {
    std::ranges::for_each(chain_, [](gnutls_pcert_st& each) { gnutls_pcert_deinit(&each); });
}

} // namespace tarvik::monitoring_modules::probe
