#include "host/message.hpp"

#include "host/hint.hpp"
#include "host/json.hpp"
#include "host/json_reader.hpp"
#include "host/probe_error.hpp"
#include <rapidjson/error/en.h>

#include <array>
#include <limits>
#include <type_traits>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

[[noreturn]] void refuse(const std::string& problem) {
    throw probe_error{exit_code::call_failed, "Unusable message: " + problem};
}

/// @tparam Type std::int64_t, double, bool or std::string
/// @return nothing for a value of another type
template <typename Type>
[[nodiscard]] std::optional<Type> value_as(const rapidjson::Value& value) {
    if constexpr (std::is_same_v<Type, double>) {
        return value.IsNumber() ? std::optional{value.GetDouble()} : std::nullopt;
    } else if constexpr (std::is_same_v<Type, std::int64_t>) {
        return value.IsInt64() ? std::optional{value.GetInt64()} : std::nullopt;
    } else if constexpr (std::is_same_v<Type, bool>) {
        return value.IsBool() ? std::optional{value.GetBool()} : std::nullopt;
    } else {
        return value.IsString()
                   ? std::optional{std::string{value.GetString(), value.GetStringLength()}}
                   : std::nullopt;
    }
}

/// An object within a message and the way to it, such as "channel_definitions[2]"; empty for the
/// message itself. Refers to the message and to the object that it is in. Members that are null
/// count as absent.
class json_object final {
  public:
    explicit json_object(const rapidjson::Value& message) : json_object{message, nullptr, "", {}} {}

    [[noreturn]] void fail(const char* name, const std::string& problem) const {
        refuse("\"" + place_of(name) + "\" " + problem);
    }

    /// @return null JSON when the member is absent
    [[nodiscard]] const rapidjson::Value& operator[](const char* name) const {
        static const rapidjson::Value nothing;
        const auto found = object_.FindMember(name);
        return found == object_.MemberEnd() ? nothing : found->value;
    }

    /// @return the object that is a member, empty when it is absent
    [[nodiscard]] json_object object(const char* name) const {
        static const rapidjson::Value empty{rapidjson::kObjectType};
        const rapidjson::Value& found = (*this)[name];
        return {found.IsNull() ? empty : found, this, name, {}};
    }

    /// @return nothing when the member is absent
    template <typename Type>
    [[nodiscard]] std::optional<Type> get(const char* name) const {
        const rapidjson::Value& found = (*this)[name];
        auto value = value_as<Type>(found);
        if (!value && !found.IsNull()) {
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
        if ((*this)[name].IsNull()) {
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
        const rapidjson::Value& list = (*this)[name];
        if (list.IsNull()) {
            return values;
        }
        if (!list.IsArray()) {
            fail(name, "is no list");
        }
        values.reserve(list.Size());
        for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
            values.push_back(read(json_object{list[i], this, name, i}));
        }
        return values;
    }

  private:
    json_object(
        const rapidjson::Value& object,
        const json_object* parent,
        const char* name,
        std::optional<rapidjson::SizeType> index
    )
        : object_{object},
          parent_{parent},
          name_{name},
          index_{index} {
        if (!object_.IsObject()) {
            refuse((parent == nullptr ? "it" : place()) + " is no JSON object");
        }
    }

    // Put together only for a message that is refused.
    [[nodiscard]] std::string place() const {
        const std::string name = parent_ == nullptr ? "" : parent_->place_of(name_);
        return index_ ? name + "[" + std::to_string(*index_) + "]" : name;
    }
    [[nodiscard]] std::string place_of(const std::string& name) const {
        return parent_ == nullptr ? name : place() + "." + name;
    }

    const rapidjson::Value& object_;
    const json_object* parent_; // null: this is the message
    const char* name_;
    std::optional<rapidjson::SizeType> index_; // in a list of that name
};

/// @param object has perhaps a member of this name with "identity" and "text"
void add_translation(ordered_json& object, const char* name, const translation& texts) {
    const ordered_json& said = member(object, name);
    if (member(said, "identity").is_string() && member(said, "text").is_string()) {
        object[name]["translated"] =
            texts.message(text_in(said, "identity"), text_in(said, "text"));
    }
}

/// @return the message with its translations, if it is one
[[nodiscard]] std::string with_translations(std::string_view text, const translation& texts) {
    ordered_json document = ordered_json::parse(text, nullptr, false);
    if (document.is_discarded()) {
        return std::string{text}; // whoever reads it says why
    }
    add_translation(document, "message", texts);
    if (member(document, "channel_definitions").is_array()) {
        for (ordered_json& definition : document["channel_definitions"]) {
            add_translation(definition, "name", texts);
        }
    }
    return document.dump();
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
    const rapidjson::Value& value = channel["value"];
    if (value.IsNull() || value.IsInt64() || value.IsUint64()) {
        return channel.required<std::int64_t>("value");
    }
    if (const auto real = value_as<double>(value)) {
        return *real;
    }
    const std::string text = value_as<std::string>(value).value_or("");
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

/// No message has so many; what reads and writes JSON calls itself for each of them.
constexpr int most_levels = 500;

} // namespace

double as_double(const channel_number& value) noexcept {
    const auto* integer = std::get_if<std::int64_t>(&value);
    return integer != nullptr ? static_cast<double>(*integer) : *std::get_if<double>(&value);
}

any_message parse_message(std::string_view text, const translation& texts) {
    if (is_deeper(text, most_levels)) {
        refuse("no JSON of a module: more than " + std::to_string(most_levels) + " levels");
    }
    const auto sent = std::make_shared<const std::string>(
        texts.english() ? std::string{text} : with_translations(text, texts)
    );
    std::array<char, 8192> room; // for a usual message
    rapidjson::MemoryPoolAllocator<> memory{room.data(), room.size()};
    rapidjson::Document document{&memory};
    if (const rapidjson::ParseResult read = read_json(*sent, document); read.IsError()) {
        const bool by_number = read.Code() == rapidjson::kParseErrorTermination;
        refuse(
            std::string{"no JSON: "} +
            (by_number ? "a number beyond what a double holds"
                       : rapidjson::GetParseError_En(read.Code())) +
            " (byte " + std::to_string(read.Offset()) + ")"
        );
    }
    const json_object object{document};
    const std::string type = object.text("type");
    if (type == "sensor_scan_result") {
        return read_scan_result(object, sent, texts.language());
    }
    if (type == "check_result") {
        return check_result{
            object.required<std::int64_t>("check_id"), object.required<bool>("success"), sent};
    }
    if (type == "notification_response") {
        return notification_response{
            object.required<std::int64_t>("id"), object.each("log", read_log_line), sent};
    }
    return {};
}

} // namespace tarvik::monitoring_modules::probe
