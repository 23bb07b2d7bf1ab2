#include "opcua/client/connection_settings.hpp"

#include "zunohelper/setting_kinds.hpp"

#include <array>

namespace tarvik::monitoring_modules::opcua::settings {

namespace {

using libzunohelper::kind_integer;
using libzunohelper::kind_securestring;
using libzunohelper::kind_string;
using libzunohelper::settings_reader;

template <typename Enum>
using option = libzunohelper::selection_option<Enum>;

constexpr std::array security_modes{
    option<opcua::security_mode>{"none", opcua::security_mode::none},
    option<opcua::security_mode>{"sign", opcua::security_mode::sign},
    option<opcua::security_mode>{"sign_encrypt", opcua::security_mode::sign_encrypt},
};

constexpr std::array security_policies{
    option<opcua::security_policy>{"none", opcua::security_policy::none},
    option<opcua::security_policy>{"Basic256Sha256", opcua::security_policy::basic256sha256},
};

constexpr std::array user_auth_modes{
    option<opcua::user_auth_mode>{"anonymous", opcua::user_auth_mode::anonymous},
    option<opcua::user_auth_mode>{"username_password", opcua::user_auth_mode::username_password},
};

/// Reads the fields of one group: `prefix.group.field`.
class group_reader {
  public:
    group_reader(const settings_reader& reader, std::string_view prefix, std::string_view group)
        : reader_{reader},
          stem_{std::string{prefix} + "." + std::string{group} + "."} {}

    [[nodiscard]] std::string_view text(std::string_view field, std::string_view fallback) const {
        return reader_.get_or(key(field), fallback);
    }

    template <typename Kind>
    [[nodiscard]] auto
    parse(std::string_view field, const Kind& kind, std::string_view fallback) const {
        const std::string full_key = key(field);
        return kind.parse(full_key, reader_.get_or(full_key, fallback));
    }

  private:
    [[nodiscard]] std::string key(std::string_view field) const {
        return stem_ + std::string{field};
    }

    const settings_reader& reader_;
    std::string stem_;
};

} // namespace

opcua::security_mode parse_security_mode(std::string_view text) {
    return libzunohelper::parse_selection("security_mode", text, security_modes);
}

opcua::security_policy parse_security_policy(std::string_view text) {
    return libzunohelper::parse_selection("security_policy", text, security_policies);
}

opcua::user_auth_mode parse_user_auth_mode(std::string_view text) {
    return libzunohelper::parse_selection("user_auth_mode", text, user_auth_modes);
}

connection_opcua parse_connection_opcua(const settings_reader& reader, std::string_view prefix) {
    const group_reader group{reader, prefix, "connection_opcua"};
    connection_opcua parsed;
    parsed.port = group.parse("port", kind_integer{.minimum = 1, .maximum = 65535}, "4840");
    parsed.server_name = group.parse("server_name", kind_string{}, "");
    return parsed;
}

connection_security
parse_connection_security(const settings_reader& reader, std::string_view prefix) {
    const group_reader group{reader, prefix, "connection_security"};
    connection_security parsed;
    parsed.security_mode = parse_security_mode(group.text("security_mode", "none"));
    parsed.security_policy = parse_security_policy(group.text("security_policy", "none"));
    parsed.client_certificate = group.parse("client_certificate", kind_string{}, "");
    parsed.client_key = group.parse("client_key", kind_string{}, "");
    parsed.client_key_password = group.parse("client_key_password", kind_securestring{}, "");
    return parsed;
}

user_authentication
parse_user_authentication(const settings_reader& reader, std::string_view prefix) {
    const group_reader group{reader, prefix, "user_authentication"};
    user_authentication parsed;
    parsed.user_auth_mode = parse_user_auth_mode(group.text("user_auth_mode", "anonymous"));
    parsed.user = group.parse("user", kind_string{}, "");
    parsed.password = group.parse("password", kind_securestring{}, "");
    return parsed;
}

connection parse_connection(const settings_reader& reader) {
    // Braced initialisers are evaluated in order: the first group with a bad setting is the one
    // that is reported.
    return connection{
        libzunohelper::parse_common_settings(reader),
        parse_connection_opcua(reader, credentials_prefix),
        parse_connection_security(reader, credentials_prefix),
        parse_user_authentication(reader, credentials_prefix),
    };
}

} // namespace tarvik::monitoring_modules::opcua::settings
