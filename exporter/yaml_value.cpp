#include "exporter/yaml_value.hpp"

#include "host/probe_error.hpp"
#include "host/secret_file.hpp"
#include "text/nearest_names.hpp"
#include "text/number.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string line_of(const YAML::Mark& mark) {
    return mark.is_null() ? "" : std::to_string(mark.line + 1) + ": ";
}

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
    return environment(value, "CREDENTIALS_DIRECTORY") + "/" + name;
}

} // namespace

yaml_value::yaml_value(const YAML::Node& node, std::string place, std::string file)
    : node_{node},
      place_{std::move(place)},
      file_{std::move(file)} {}

yaml_value yaml_value::parse(const std::string& text, const std::string& file) {
    try {
        return {YAML::Load(text), "", file};
    } catch (const YAML::Exception& error) {
        throw probe_error{exit_code::usage, file + ":" + line_of(error.mark) + error.msg};
    }
}

yaml_value yaml_value::at(const YAML::Node& node, const std::string& name) const {
    return {node, place_.empty() ? name : place_ + "." + name, file_};
}

std::optional<yaml_value> yaml_value::find(const std::string& name) const {
    if (!node_.IsMap()) {
        fail("expected a mapping");
    }
    const YAML::Node found = node_[name];
    if (!found || found.IsNull()) {
        return std::nullopt;
    }
    return at(found, name);
}

yaml_value yaml_value::required(const std::string& name) const {
    auto found = find(name);
    if (!found) {
        fail("\"" + name + "\" is required");
    }
    return *std::move(found);
}

std::vector<std::pair<std::string, yaml_value>> yaml_value::members() const {
    if (!node_.IsMap()) {
        fail("expected a mapping");
    }
    std::vector<std::pair<std::string, yaml_value>> result;
    for (const auto& member : node_) {
        if (!member.first.IsScalar()) {
            fail("the names of members must be texts");
        }
        const std::string name = member.first.Scalar();
        if (std::ranges::any_of(result, [&name](const auto& each) { return each.first == name; })) {
            fail("\"" + name + "\" stands here twice");
        }
        result.emplace_back(name, at(member.second, name));
    }
    return result;
}

std::vector<yaml_value> yaml_value::items() const {
    if (!node_.IsSequence()) {
        fail("expected a list");
    }
    std::vector<yaml_value> result;
    for (std::size_t i = 0; i < node_.size(); ++i) {
        result.push_back({node_[i], place_ + "[" + std::to_string(i) + "]", file_});
    }
    return result;
}

void yaml_value::allow_only(std::initializer_list<const char*> names) const {
    const std::vector<std::string> known{names.begin(), names.end()};
    for (const auto& [name, value] : members()) {
        if (std::ranges::find(known, name) == known.end()) {
            value.fail("there is no such setting here" + did_you_mean(nearest_names(name, known)));
        }
    }
}

std::string yaml_value::text() const {
    if (!node_.IsScalar()) {
        fail("expected a text");
    }
    return node_.Scalar();
}

std::chrono::milliseconds
yaml_value::duration(std::chrono::milliseconds shortest, std::chrono::milliseconds longest) const {
    const std::optional<double> seconds = parse_seconds(text());
    if (!seconds || !(*seconds * 1000 >= static_cast<double>(shortest.count())) ||
        !(*seconds * 1000 <= static_cast<double>(longest.count()))) {
        fail(
            "expected a time from " + std::to_string(shortest.count()) + "ms to " +
            std::to_string(longest.count() / 1000) + "s, such as 10s"
        );
    }
    return std::chrono::milliseconds{std::llround(*seconds * 1000)};
}

std::string yaml_value::text_of(const std::string& name, const std::string& fallback) const {
    const auto found = find(name);
    return found ? found->text() : fallback;
}

std::int64_t yaml_value::integer_of(
    const std::string& name, std::int64_t lowest, std::int64_t highest, std::int64_t fallback
) const {
    const auto found = find(name);
    if (!found) {
        return fallback;
    }
    const auto number = parse_number<std::int64_t>(found->text());
    if (!number || *number < lowest || *number > highest) {
        found->fail(
            "expected a whole number from " + std::to_string(lowest) + " to " +
            std::to_string(highest)
        );
    }
    return *number;
}

bool yaml_value::is_chosen(
    const std::string& name, const std::string& usual, const std::string& other
) const {
    const std::string text = text_of(name, usual);
    if (text != usual && text != other) {
        required(name).fail("expected " + usual + " or " + other);
    }
    return text == other;
}

std::vector<std::string> yaml_value::texts_of(const std::string& name) const {
    std::vector<std::string> result;
    if (const auto found = find(name)) {
        for (const yaml_value& item : found->items()) {
            result.push_back(item.text());
        }
    }
    return result;
}

void yaml_value::fail(const std::string& problem) const {
    // Sanitised here, because the text of an exception ends at a zero byte, which a file may hold.
    throw probe_error{
        exit_code::usage,
        sanitise(
            file_ + ":" + line_of(node_.Mark()) + (place_.empty() ? "" : place_ + ": ") + problem
        )};
}

std::string value_source::path(const std::string& text) const {
    return (folder_ / text).string();
}

std::string value_source::read(const yaml_value& value) const {
    if (!value.is_mapping()) {
        return value.text();
    }
    if (const auto members = value.members(); members.size() == 1) {
        const auto& [source, place] = members.front();
        if (source == "env") {
            return environment(place, place.text());
        }
        if (source == "file") {
            return read_at(place, path(place.text()));
        }
        if (source == "credential") {
            return read_at(place, credential_path(place));
        }
    } // an unknown member is not named: it may be a secret that somebody put into braces
    value.fail("expected one of file, env and credential");
}

std::string value_source::secret(const yaml_value& value, bool open) const {
    std::string text = read(value);
    if (!value.is_mapping() && open && !text.empty()) {
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
