#include "probe/serve/config_secrets.hpp"

#include "host/secret_file.hpp"

#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string read_at(const config_node& value, const std::string& path) {
    try {
        return read_file(path);
    } catch (const std::exception& error) {
        value.fail(error.what());
    }
}

[[nodiscard]] std::string environment(const config_node& value, const char* name) {
    const char* const text = std::getenv(name);
    if (text == nullptr) {
        value.fail(std::string{"the environment has no variable "} + name);
    }
    return text;
}

/// Editors end a file with a line end, which is no part of a password; a certificate keeps its own.
[[nodiscard]] std::string without_last_line_end(std::string text) {
    const bool several_lines = text.find('\n') != text.rfind('\n');
    return several_lines ? std::move(text) : without_line_end(std::move(text));
}

[[nodiscard]] std::string credential_path(const config_node& value) {
    const std::string name = value.text();
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) {
        value.fail("this can be no name of a credential");
    }
    return environment(value, "CREDENTIALS_DIRECTORY") + "/" + name;
}

} // namespace

std::string config_values::path(const std::string& text) const {
    return (folder_ / text).string();
}

config_value config_values::read(const config_node& value) const {
    if (!value.is_mapping()) {
        return {value.text(), false};
    }
    value.allow_only({"file", "env", "credential"});
    if (value.members().size() != 1) {
        value.fail("expected one of file, env and credential");
    }
    if (const auto file = value.find("file")) {
        return {without_last_line_end(read_at(*file, path(file->text()))), true};
    }
    if (const auto name = value.find("env")) {
        return {environment(*name, name->text().c_str()), true};
    }
    const config_node name = value.required("credential");
    return {without_last_line_end(read_at(name, credential_path(name))), true};
}

std::string config_values::secret(const config_node& value, bool open) const {
    config_value result = read(value);
    if (!result.from_outside && open && !result.text.empty()) {
        value.fail("everybody can read this file, and it holds a secret: chmod o-rwx, or name a "
                   "{file: PATH}, {env: NAME} or {credential: NAME}");
    }
    if (value.is_mapping() && value.find("file") &&
        is_open_to_all(path(value.required("file").text()))) {
        value.fail("everybody can read the secret in this file: chmod o-rwx");
    }
    return std::move(result.text);
}

} // namespace tarvik::monitoring_modules::probe
