#include "host/message.hpp"

#include "host/hint.hpp"
#include "host/json.hpp"
#include "host/probe_error.hpp"

#include <limits>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

[[noreturn]] void refuse(const std::string& problem) {
    throw probe_error{exit_code::call_failed, "Unusable message: " + problem};
}

/// An object within a message and the way to it, such as "channel_definitions[2]"; empty for the
/// message itself. Refers to the message. Members that are null count as absent.
class json_object final {
  public:
    explicit json_object(const ordered_json& object, std::string place = {})
        : object_{object},
          place_{std::move(place)} {
        if (!object_.is_object()) {
            refuse((place_.empty() ? "it" : place_) + " is no JSON object");
        }
    }

    [[noreturn]] void fail(const std::string& name, const std::string& problem) const {
        refuse("\"" + place_of(name) + "\" " + problem);
    }

    /// @return null JSON when the member is absent
    [[nodiscard]] const ordered_json& operator[](const char* name) const {
        return member(object_, name);
    }

    /// @return the object that is a member, empty when it is absent
    [[nodiscard]] json_object object(const char* name) const {
        static const ordered_json empty = ordered_json::object();
        const ordered_json& found = (*this)[name];
        return json_object{found.is_null() ? empty : found, place_of(name)};
    }

    /// @return nothing when the member is absent
    template <typename Type>
    [[nodiscard]] std::optional<Type> get(const char* name) const {
        const ordered_json& found = (*this)[name];
        auto value = as<Type>(found);
        if (!value && !found.is_null()) {
            fail(
                name,
                std::is_same_v<Type, std::string>    ? "is no text"
                : std::is_same_v<Type, std::int64_t> ? "is no 64-bit integer"
                : std::is_same_v<Type, double>       ? "is no number"
                                                     : "is neither true nor false"
            );
        }
        return value;
    }

    template <typename Type>
    [[nodiscard]] Type required(const char* name) const {
        if ((*this)[name].is_null()) {
            fail(name, "is missing");
        }
        return *get<Type>(name);
    }

    [[nodiscard]] std::string text(const char* name) const {
        return get<std::string>(name).value_or("");
    }

    /// @return read(json_object) for each element of a list of objects
    template <typename Read>
    [[nodiscard]] auto each(const char* name, Read read) const {
        std::vector<decltype(read(*this))> values;
        const ordered_json& list = (*this)[name];
        if (!list.is_array() && !list.is_null()) {
            fail(name, "is no list");
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            values.push_back(read(json_object{
                list[i], place_of(name) + "[" + std::to_string(i) + "]"}));
        }
        return values;
    }

  private:
    [[nodiscard]] std::string place_of(const std::string& name) const {
        return place_.empty() ? name : place_ + "." + name;
    }

    const ordered_json& object_;
    std::string place_;
};

/// @param object has perhaps a member of this name with "identity" and "text"
void add_translation(ordered_json& object, const char* name, const translation& texts) {
    const ordered_json& said = member(object, name);
    if (member(said, "identity").is_string() && member(said, "text").is_string()) {
        object[name]["translated"] =
            texts.message(text_in(said, "identity"), text_in(said, "text"));
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

/// @return the English text, or what was put beside it in another language
[[nodiscard]] std::string shown_text(const json_object& texts) {
    return texts.get<std::string>("translated").value_or(texts.text("text"));
}

[[nodiscard]] channel_definition read_definition(const json_object& definition) {
    constexpr std::int64_t difference = 2;
    const auto id = definition.required<std::int64_t>("id");
    const std::string name = shown_text(definition.object("name"));
    const json_object unit = definition.object("unit");
    const json_object limits = definition.object("limits");
    return {
        id,
        name.empty() ? "channel " + std::to_string(id) : name,
        {unit.get<std::int64_t>("code").value_or(0), unit.text("name"), unit.text("text")},
        definition.object("mode").get<std::int64_t>("code") == difference,
        definition.text("lookup"),
        definition.get<double>("multiplier").value_or(1.0),
        {limits.get<bool>("enabled").value_or(false),
         limits.get<double>("lower_error"),
         limits.get<double>("lower_warning"),
         limits.get<double>("upper_warning"),
         limits.get<double>("upper_error")}};
}

[[nodiscard]] channel_number read_number(const json_object& channel) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const ordered_json& value = channel["value"];
    if (value.is_null() || value.is_number_integer()) {
        return channel.required<std::int64_t>("value");
    }
    if (const auto real = as<double>(value)) {
        return *real;
    }
    const std::string text = as<std::string>(value).value_or("");
    if (text == "NaN") {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (text == "Infinity" || text == "-Infinity") {
        return text.front() == '-' ? -infinity : infinity;
    }
    channel.fail("value", "is no number");
}

[[nodiscard]] scan_state read_state(const json_object& result) {
    switch (result.required<std::int64_t>("response_code")) {
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

[[nodiscard]] scan_result
read_scan_result(const json_object& object, sent_message sent, std::string_view language) {
    const json_object message = object.object("message");
    scan_result result{
        object.required<std::int64_t>("sensor_id"),
        object.get<std::int64_t>("error_code").value_or(0),
        read_state(object),
        shown_text(message),
        object.each("channel_definitions", read_definition),
        object.each(
            "channels",
            [](const json_object& channel) {
                return channel_value{channel.required<std::int64_t>("id"), read_number(channel)};
            }
        ),
        message.text("identity"),
        std::move(sent)};
    if (result.state == scan_state::error) {
        result.hint = hint_for(result.identity, language);
    }
    return result;
}

[[nodiscard]] log_line read_log_line(const json_object& entry) {
    const auto severity = entry.required<std::int64_t>("severity");
    if (severity < 0 || severity > severity_debug) {
        entry.fail("severity", "is none of 0 to 7");
    }
    return {"", static_cast<std::int32_t>(severity), entry.text("text")};
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
        refuse(std::string{"no JSON: "} + error.what());
    }
    add_translations(*document, texts);
    const json_object object{*document};
    const std::string type = object.text("type");
    if (type == "sensor_scan_result") {
        return read_scan_result(object, document, texts.language());
    }
    if (type == "check_result") {
        return check_result{
            object.required<std::int64_t>("check_id"), object.required<bool>("success"), document};
    }
    if (type == "notification_response") {
        return notification_response{
            object.required<std::int64_t>("id"), object.each("log", read_log_line), document};
    }
    return {};
}

} // namespace tarvik::monitoring_modules::probe
