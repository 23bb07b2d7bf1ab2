#include "exporter/listen_settings.hpp"

#include "exporter/address.hpp"
#include "host/secret_file.hpp"

namespace tarvik::monitoring_modules::probe {

http_settings read_listen(const yaml_value& node, const value_source& values, bool open) {
    node.allow_only({"address", "port", "tls", "basic_auth", "allowed_hosts"});
    http_settings listen;
    listen.address = node.text_of("address", listen.address);
    listen.port = static_cast<std::uint16_t>(node.integer_of("port", 0, 65535, usual_http_port));
    listen.allowed_hosts = node.texts_of("allowed_hosts");
    if (const auto tls = node.find("tls")) {
        tls->allow_only({"certificate", "key"});
        listen.tls = http_tls_files{
            values.path(tls->required("certificate").text()),
            values.path(tls->required("key").text())};
        if (is_open_to_all(listen.tls->key)) {
            tls->required("key").fail("everybody can read this key: chmod o-rwx");
        }
    }
    if (const auto auth = node.find("basic_auth")) {
        auth->allow_only({"user", "password", "plain_http"});
        listen.basic_auth = http_credentials{
            auth->required("user").text(), values.secret(auth->required("password"), open)};
        if (listen.basic_auth->user.find(':') != std::string::npos) {
            auth->required("user").fail("a user name has no colon (RFC 7617, 2)");
        }
        if (!auth->is_chosen("plain_http", "refuse", "allow") && !listen.tls &&
            !is_loopback_address(listen.address)) {
            auth->fail("everybody on the wire can read this password: add tls, listen on "
                       "loopback, or say plain_http: allow");
        }
        if (listen.basic_auth->password.empty()) {
            auth->required("password").fail("the password is empty");
        }
    }
    return listen;
}

} // namespace tarvik::monitoring_modules::probe
