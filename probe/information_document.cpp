#include "probe/information_document.hpp"

#include "probe/probe_error.hpp"

#include <charconv>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::json;

/// @return the member, or null JSON when there is none
[[nodiscard]] const json& member(const json& object, const char* name) {
    static const json nothing;
    if (!object.is_object()) {
        return nothing;
    }
    const auto found = object.find(name);
    return found == object.end() ? nothing : *found;
}

[[nodiscard]] std::string text_of(const json& value) {
    return value.is_string() ? value.get<std::string>() : std::string{};
}

[[nodiscard]] std::optional<std::int64_t> integer_of(const json& value) {
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    const std::string text = text_of(value);
    std::int64_t result = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{result} : std::nullopt;
}

/// A display member holds a text or the key of one.
[[nodiscard]] std::string display_of(const json& entry, const json& translation) {
    std::string display = text_of(member(entry, "Display"));
    const std::string text = text_of(member(member(translation, display.c_str()), "Display"));
    return text.empty() ? display : text;
}

[[nodiscard]] channel_state state_of(const json& entry) {
    const std::string state = text_of(member(entry, "State"));
    if (state == "LookupValueStateOk") {
        return channel_state::ok;
    }
    if (state == "LookupValueStateWarning") {
        return channel_state::warning;
    }
    return state == "LookupValueStateError" ? channel_state::error : channel_state::none;
}

[[nodiscard]] std::map<std::int64_t, lookup_value>
values_of(const json& lookup, const json& translation) {
    std::map<std::int64_t, lookup_value> values;
    for (const json& entry : member(lookup, "LookupValues")) {
        const std::optional<std::int64_t> value = integer_of(member(entry, "Value"));
        const std::string display = display_of(entry, translation);
        if (value && !display.empty()) {
            values.insert_or_assign(*value, lookup_value{display, state_of(entry)});
        }
    }
    return values;
}

} // namespace

information_document::information_document(std::string_view message) {
    const json whole = json::parse(message, nullptr, false);
    const json& document = member(whole, "module_information");
    if (!document.is_object()) {
        throw probe_error{exit_code::call_failed, "The module information is unusable"};
    }
    const json& translation = member(member(member(document, "Text"), "English"), "Translation");
    for (const auto& [name, lookup] : member(document, "Lookups").items()) {
        lookups_.emplace(name, values_of(lookup, translation));
    }
    for (const auto& [kind, sensor] : member(document, "Sensors").items()) {
        sensors_.emplace(kind, display_of(sensor, translation));
    }
}

std::optional<lookup_value>
information_document::find(const std::string& lookup, std::int64_t value) const {
    const auto values = lookups_.find(lookup);
    if (values == lookups_.end()) {
        return std::nullopt;
    }
    const auto found = values->second.find(value);
    return found == values->second.end() ? std::nullopt : std::optional{found->second};
}

std::string information_document::sensor_name(const std::string& kind) const {
    const auto found = sensors_.find(kind);
    return found == sensors_.end() || found->second.empty() ? kind : found->second;
}

} // namespace tarvik::monitoring_modules::probe
