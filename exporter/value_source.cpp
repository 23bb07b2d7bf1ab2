#include "exporter/value_source.hpp"

#include "host/secret_file.hpp"

#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string environment(const yaml_value& value, const std::string& name) {
    const char* const text = std::getenv(name.c_str());
    if (text == nullptr) {
        value.fail("the environment has no variable " + name);
    }
    return text;
}

/// Editors end a file with a line end, which is no part of a password; a certificate keeps its own.
[[nodiscard]] std::string read_at(const yaml_value& value, const std::string& path) {
    try {
        std::string text = read_file(path);
        const bool several_lines = text.find('\n') != text.rfind('\n');
        return several_lines ? text : without_line_end(std::move(text));
    } catch (const std::exception& error) {
        value.fail(error.what());
    }
}

[[nodiscard]] std::string credential_path(const yaml_value& value) {
    const std::string name = value.text();
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) {
        value.fail("this can be no name of a credential");
    }
    const char* const folder = std::getenv("CREDENTIALS_DIRECTORY");
    if (folder == nullptr) {
        value.fail("only a service has credentials (LoadCredential=); elsewhere, "
                   "CREDENTIALS_DIRECTORY names a folder with a file for each");
    }
    return std::string{folder} + "/" + name;
}

} // namespace

value_source::value_source(const std::string& file)
    : folder_{std::filesystem::path(file).parent_path()},
      open_{is_open_to_all(file)} {}

std::string value_source::path(const std::string& text) const {
    return (folder_ / text).string();
}

std::string value_source::read(const yaml_value& value) const {
    if (!value.is_mapping()) {
        return value.text();
    }
    const auto given = [&value](const char* source) {
        return value.member_count() == 1 ? value.find(source) : std::nullopt;
    };
    if (const auto name = given("env")) {
        return environment(*name, name->text());
    }
    if (const auto name = given("file")) {
        return read_at(*name, path(name->text()));
    }
    if (const auto name = given("credential")) {
        return read_at(*name, credential_path(*name));
    } // an unknown member is not named: it may be a secret that somebody put into braces
    value.fail("expected one of file, env and credential");
}

std::string value_source::secret(const yaml_value& value) const {
    std::string text = read(value);
    if (!value.is_mapping() && open_ && !text.empty()) {
        value.fail("everybody can read this file, and it holds a secret: chmod o-rwx, or name a "
                   "{file: PATH}, {env: NAME} or {credential: NAME}");
    }
    if (value.is_mapping() && value.find("file") &&
        is_open_to_all(path(value.required("file").text()))) {
        value.fail("everybody can read the secret in this file: chmod o-rwx");
    }
    return text;
}

} // namespace tarvik::monitoring_modules::probe
