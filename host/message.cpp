#include "host/message.hpp"

#include "host/json.hpp"
#include "host/probe_error.hpp"

#include <limits>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

/// @param object has perhaps a member of this name with "identity" and "text"
void add_translation(ordered_json& object, const char* name, const translation& texts) {
    const ordered_json& said = member(object, name);
    if (member(said, "identity").is_string() && member(said, "text").is_string()) {
        object[name]["translated"] =
            texts.message(text_of(member(said, "identity")), text_of(member(said, "text")));
    }
}

void add_translations(ordered_json& document, const translation& texts) {
    if (texts.english()) {
        return;
    }
    add_translation(document, "message", texts);
    if (member(document, "channel_definitions").is_array()) {
        for (ordered_json& definition : document["channel_definitions"]) {
            add_translation(definition, "name", texts);
        }
    }
}

[[nodiscard]] channel_unit read_unit(const json_object& definition) {
    const ordered_json* member = definition.find("unit");
    if (member == nullptr) {
        return {};
    }
    const json_object unit{*member, definition.place_of("unit")};
    return {unit.integer("code", 0), unit.text("name", ""), unit.text("text", "")};
}

[[nodiscard]] channel_limits read_limits(const json_object& definition) {
    const ordered_json* member = definition.find("limits");
    if (member == nullptr) {
        return {};
    }
    const json_object limits{*member, definition.place_of("limits")};
    const auto limit = [&limits](const char* name) -> std::optional<double> {
        return limits.find(name) == nullptr ? std::nullopt : std::optional{limits.real(name, 0)};
    };
    return {
        limits.boolean("enabled", false),
        limit("lower_error"),
        limit("lower_warning"),
        limit("upper_warning"),
        limit("upper_error")};
}

[[nodiscard]] std::string read_identity(const json_object& object, const char* name) {
    const ordered_json* const member = object.find(name);
    return member == nullptr ? ""
                             : json_object{*member, object.place_of(name)}.text("identity", "");
}

/// A text that can be said in another language, and in which it may have been.
[[nodiscard]] std::string read_text(const json_object& object, const char* name) {
    const ordered_json* member = object.find(name);
    if (member == nullptr) {
        return "";
    }
    const json_object texts{*member, object.place_of(name)};
    return texts.text("translated", texts.text("text", ""));
}

[[nodiscard]] std::string read_name(const json_object& object, std::int64_t id) {
    const std::string text = read_text(object, "name");
    return text.empty() ? "channel " + std::to_string(id) : text;
}

[[nodiscard]] bool read_difference(const json_object& definition) {
    constexpr std::int64_t difference = 2;
    const ordered_json* member = definition.find("mode");
    return member != nullptr &&
           json_object{*member, definition.place_of("mode")}.integer("code", 1) == difference;
}

[[nodiscard]] channel_definition read_definition(const json_object& definition) {
    const std::int64_t id = definition.integer("id");
    return {
        id,
        read_name(definition, id),
        read_unit(definition),
        read_difference(definition),
        definition.text("lookup", ""),
        definition.real("multiplier", 1.0),
        read_limits(definition)};
}

[[nodiscard]] channel_value read_value(const json_object& channel) {
    const std::int64_t id = channel.integer("id");
    const ordered_json* value = channel.find("value");
    if (value == nullptr) {
        channel.fail("value", "is missing");
    }
    if (value->is_number_integer()) {
        return {id, channel.integer("value")};
    }
    if (value->is_number_float()) {
        return {id, value->get<double>()};
    }
    const std::string text = value->is_string() ? value->get<std::string>() : "";
    if (text == "NaN") {
        return {id, std::numeric_limits<double>::quiet_NaN()};
    }
    if (text == "Infinity" || text == "-Infinity") {
        const double infinity = std::numeric_limits<double>::infinity();
        return {id, text.front() == '-' ? -infinity : infinity};
    }
    channel.fail("value", "is no number");
}

[[nodiscard]] scan_state read_state(const json_object& result) {
    switch (result.integer("response_code")) {
    case 0:
        return scan_state::ok;
    case 1:
        return scan_state::warning;
    case 3:
        return scan_state::error;
    default:
        result.fail("response_code", "is none of 0, 1 and 3");
    }
}

[[nodiscard]] scan_result read_scan_result(const json_object& object) {
    scan_result result;
    result.sensor_id = object.integer("sensor_id");
    result.error_code = object.integer("error_code", 0);
    result.state = read_state(object);
    result.identity = read_identity(object, "message");
    result.text = read_text(object, "message");
    object.each("channel_definitions", [&result](const json_object& definition) {
        result.definitions.push_back(read_definition(definition));
    });
    object.each("channels", [&result](const json_object& channel) {
        result.channels.push_back(read_value(channel));
    });
    return result;
}

[[nodiscard]] log_line read_log_line(const json_object& entry) {
    const std::int64_t severity = entry.integer("severity");
    if (severity < 0 || severity > severity_debug) {
        entry.fail("severity", "is none of 0 to 7");
    }
    return {"", static_cast<std::int32_t>(severity), entry.text("text", "")};
}

[[nodiscard]] notification_response read_notification_response(const json_object& object) {
    notification_response response{object.integer("id"), {}, {}};
    object.each("log", [&response](const json_object& entry) {
        response.log.push_back(read_log_line(entry));
    });
    return response;
}

} // namespace

double as_double(const channel_number& value) noexcept {
    const auto* integer = std::get_if<std::int64_t>(&value);
    return integer != nullptr ? static_cast<double>(*integer) : *std::get_if<double>(&value);
}

any_message parse_message(std::string_view text, const translation& texts) {
    auto document = std::make_shared<ordered_json>();
    try {
        *document = ordered_json::parse(text);
    } catch (const ordered_json::exception& error) {
        throw probe_error{
            exit_code::call_failed, std::string{"Unusable message: no JSON: "} + error.what()};
    }
    add_translations(*document, texts);
    const json_object object{*document, ""};
    std::string type = object.text("type", "");
    if (type == "sensor_scan_result") {
        scan_result result = read_scan_result(object);
        result.sent = document;
        return result;
    }
    if (type == "check_result") {
        return check_result{object.integer("check_id"), object.boolean("success"), document};
    }
    if (type == "notification_response") {
        notification_response response = read_notification_response(object);
        response.sent = document;
        return response;
    }
    return other_message{std::move(type)};
}

} // namespace tarvik::monitoring_modules::probe
