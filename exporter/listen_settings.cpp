#include "exporter/listen_settings.hpp"

#include "exporter/address.hpp"
#include "host/secret_file.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return the path of a file that can be read; empty when a mistake was told
[[nodiscard]] std::string
readable_path(const yaml_value& tls, const char* name, const value_source& values) {
    std::string path;
    tls.attempt([&] {
        const yaml_value given = tls.required(name);
        given.attempt([&] {
            path = values.path(given.text());
            static_cast<void>(read_file(path));
        });
    });
    return path;
}

void read_tls(const yaml_value& node, const value_source& values, http_settings& to) {
    node.allow_only({"certificate", "key"});
    to.tls = http_tls_files{
        readable_path(node, "certificate", values), readable_path(node, "key", values)};
    if (is_open_to_all(to.tls->key)) {
        node.required("key").mistake("everybody can read this key: chmod o-rwx");
    }
}

void read_basic_auth(const yaml_value& node, const value_source& values, http_settings& to) {
    node.allow_only({"user", "password", "plain_http"});
    http_credentials& given = to.basic_auth.emplace();
    node.attempt([&] {
        const yaml_value user = node.required("user");
        given.user = user.text();
        if (given.user.find(':') != std::string::npos) {
            user.mistake("a user name has no colon (RFC 7617, 2)");
        }
    });
    node.attempt([&] {
        const yaml_value password = node.required("password");
        given.password = values.secret(password);
        if (given.password.empty()) {
            password.mistake("the password is empty");
        }
    });
    if (!node.is_chosen("plain_http", "refuse", "allow") && !to.tls &&
        !is_loopback_address(to.address)) {
        node.mistake("everybody on the wire can read this password: add tls, listen on "
                     "loopback, or say plain_http: allow");
    }
}

} // namespace

http_settings read_listen(const yaml_value& node, const value_source& values) {
    node.allow_only({"address", "port", "tls", "basic_auth", "allowed_hosts"});
    http_settings listen;
    listen.address = node.text_of("address", listen.address);
    listen.port = static_cast<std::uint16_t>(node.integer_of("port", 0, 65535, usual_http_port));
    listen.allowed_hosts = node.texts_of("allowed_hosts");
    if (const auto tls = node.find("tls")) {
        tls->attempt([&] { read_tls(*tls, values, listen); });
    }
    if (const auto auth = node.find("basic_auth")) {
        auth->attempt([&] { read_basic_auth(*auth, values, listen); });
    } else if (!is_loopback_address(listen.address)) {
        node.find("address")->warn("whoever reaches this address can read all of it: add "
                                   "basic_auth and tls, or listen on 127.0.0.1");
    }
    return listen;
}

} // namespace tarvik::monitoring_modules::probe
