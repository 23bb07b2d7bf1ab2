#include "opcua/client/client_settings.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"
#include "zunohelper/setting_kinds.hpp"
#include <arpa/inet.h>

#include <array>
#include <exception>
#include <string_view>
#include <tuple>

namespace tarvik::monitoring_modules::opcua {

namespace {

/// The fields that make two connections the same, in the order in which they are compared.
auto identity(const client_settings& settings) {
    return std::make_tuple(
        std::string_view{settings.host},
        settings.port,
        std::string_view{settings.user},
        settings.password.view(),
        std::string_view{settings.server_name()},
        std::string_view{settings.client_certificate},
        std::string_view{settings.client_key},
        settings.client_key_password.view(),
        settings.security_mode,
        settings.security_policy,
        settings.user_auth_mode
    );
}

template <typename Enum>
void check_selection(Enum value, Enum last, const char* setting) {
    if (static_cast<std::uint32_t>(value) > static_cast<std::uint32_t>(last)) {
        throw libzunohelper::utils::exceptions::setting_invalid{"unknown", setting};
    }
}

/// Whether a host is an IPv6 address as it stands outside of URLs, with or without a zone.
bool is_bare_ipv6(const std::string& host) {
    std::array<std::uint8_t, sizeof(in6_addr)> address{};
    const std::string without_zone = host.substr(0, host.find('%'));
    return inet_pton(AF_INET6, without_zone.c_str(), address.data()) == 1;
}

} // namespace

client_settings::client_settings(const settings::connection& connection)
    : host{connection.common.host},
      port{connection.opcua.port} {
    set_server_name(connection.opcua.server_name);
    set_security(connection.security, connection.authentication);
}

void client_settings::set_server_name(const std::string& server_name) {
    // The stack's URL ends at a zero byte.
    if (server_name.find("//") != std::string::npos ||
        server_name.find('\0') != std::string::npos) {
        throw exceptions::invalid_servername{};
    }
    server_name_ = server_name.starts_with('/') ? server_name.substr(1) : server_name;
}

void client_settings::set_security(
    const settings::connection_security& security,
    const settings::user_authentication& authentication
) {
    user_auth_mode = opcua::user_auth_mode::anonymous;
    if (authentication.user_auth_mode == opcua::user_auth_mode::username_password) {
        user_auth_mode = opcua::user_auth_mode::username_password;
        user = authentication.user;
        password = authentication.password;
    }
    check_selection(security.security_mode, opcua::security_mode::sign_encrypt, "security_mode");
    security_mode = security.security_mode;
    check_selection(
        security.security_policy, opcua::security_policy::basic256sha256, "security_policy"
    );
    security_policy = security.security_policy;
    if (security_mode == opcua::security_mode::none) {
        client_certificate.clear();
        client_key.clear();
        client_key_password.clear();
        return;
    }
    client_certificate = security.client_certificate;
    client_key = security.client_key;
    client_key_password = security.client_key_password;
}

client_settings create_client_settings(
    const libzunohelper::notifications::request& request, liblog::log_interface* log
) {
    using settings::credentials_prefix;
    try {
        const auto& reader = request.settings();
        client_settings built;
        const std::string host_key = std::string{credentials_prefix} + ".connection_opcua.host";
        built.host = libzunohelper::read(reader, host_key, libzunohelper::kind_host{});
        built.timeout_s = request.get_timeout_s();
        const auto server = settings::parse_connection_opcua(reader, credentials_prefix);
        built.port = server.port;
        built.set_server_name(server.server_name);
        built.set_security(
            settings::parse_connection_security(reader, credentials_prefix),
            settings::parse_user_authentication(reader, credentials_prefix)
        );
        return built;
    } catch (const std::exception& error) {
        liblog::write(
            log,
            liblog::severity::error,
            "Exception in create_client_settings: ",
            libexception::text_of(error)
        );
        throw;
    }
}

bool operator==(const client_settings& left, const client_settings& right) noexcept {
    return identity(left) == identity(right);
}

std::string endpoint_url(const client_settings& settings) {
    const std::string& host = settings.host;
    return "opc.tcp://" + (is_bare_ipv6(host) ? "[" + host + "]" : host) + ":" +
           std::to_string(settings.port) + "/" + settings.server_name();
}

} // namespace tarvik::monitoring_modules::opcua

std::size_t std::hash<tarvik::monitoring_modules::opcua::client_settings>::operator()(
    const tarvik::monitoring_modules::opcua::client_settings& settings
) const noexcept {
    std::size_t seed = 0;
    const auto fold = [&seed](std::size_t part) {
        constexpr std::size_t golden_ratio = 0x9e3779b9;
        seed ^= part + golden_ratio + (seed << 6U) + (seed >> 2U);
    };
    const auto fold_text = [&fold](std::string_view text) {
        fold(std::hash<std::string_view>{}(text));
    };
    fold_text(settings.host);
    fold_text(settings.user);
    fold_text(settings.password.view());
    fold_text(settings.client_certificate);
    fold_text(settings.client_key);
    fold_text(settings.client_key_password.view());
    fold(static_cast<std::size_t>(settings.port));
    fold_text(settings.server_name());
    fold(static_cast<std::size_t>(settings.security_mode));
    fold(static_cast<std::size_t>(settings.security_policy));
    fold(static_cast<std::size_t>(settings.user_auth_mode));
    return seed;
}
