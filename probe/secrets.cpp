#include "probe/secrets.hpp"

#include "probe/secret_file.hpp"

#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

void warn_if_open(const std::string& path, console& terminal) {
    if (is_open_to_all(path)) {
        terminal.line(open_secret_warning(path));
    }
}

[[nodiscard]] std::string
read_password(const std::string& path, const char* variable, console& terminal) {
    if (path.empty()) {
        const char* value = std::getenv(variable);
        return value == nullptr ? "" : value;
    }
    warn_if_open(path, terminal);
    return without_line_end(read_file(path));
}

} // namespace

connection_secrets read_secrets(const connection_arguments& arguments, console& terminal) {
    connection_secrets secrets;
    if (!arguments.user.empty()) {
        secrets.password = read_password(arguments.password_file, "OPCUA_PASSWORD", terminal);
    }
    if (!arguments.client_certificate_file.empty()) {
        secrets.client_certificate = read_file(arguments.client_certificate_file);
    }
    if (!arguments.client_key_file.empty()) {
        warn_if_open(arguments.client_key_file, terminal);
        secrets.client_key = read_file(arguments.client_key_file);
        secrets.client_key_password = read_password(
            arguments.client_key_password_file, "OPCUA_CLIENT_KEY_PASSWORD", terminal
        );
    }
    return secrets;
}

} // namespace tarvik::monitoring_modules::probe
