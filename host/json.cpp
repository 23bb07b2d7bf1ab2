#include "host/json.hpp"

#include "host/probe_error.hpp"
#include "text/number.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

using nlohmann::ordered_json;

json_object::json_object(const ordered_json& object, std::string place)
    : object_{object},
      place_{std::move(place)} {
    if (!object_.is_object()) {
        throw probe_error{
            exit_code::call_failed,
            "Unusable message: " + (place_.empty() ? "it" : place_) + " is no JSON object"};
    }
}

const ordered_json* json_object::find(const char* name) const {
    const auto found = object_.find(name);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
}

std::string json_object::place_of(std::string_view name) const {
    return place_.empty() ? std::string{name} : place_ + "." + std::string{name};
}

std::int64_t json_object::integer(const char* name) const {
    if (find(name) == nullptr) {
        fail(name, "is missing");
    }
    return integer(name, 0);
}

std::int64_t json_object::integer(const char* name, std::int64_t fallback) const {
    const ordered_json* member = find(name);
    if (member == nullptr) {
        return fallback;
    }
    if (!member->is_number_integer() ||
        (member->is_number_unsigned() && !std::in_range<std::int64_t>(member->get<std::uint64_t>())
        )) {
        fail(name, "is no 64-bit integer");
    }
    return member->get<std::int64_t>();
}

double json_object::real(const char* name, double fallback) const {
    const ordered_json* member = find(name);
    if (member == nullptr) {
        return fallback;
    }
    if (!member->is_number()) {
        fail(name, "is no number");
    }
    return member->get<double>();
}

bool json_object::boolean(const char* name) const {
    if (find(name) == nullptr) {
        fail(name, "is missing");
    }
    return boolean(name, false);
}

bool json_object::boolean(const char* name, bool fallback) const {
    const ordered_json* member = find(name);
    if (member == nullptr) {
        return fallback;
    }
    if (!member->is_boolean()) {
        fail(name, "is neither true nor false");
    }
    return member->get<bool>();
}

std::string json_object::text(const char* name, std::string_view fallback) const {
    const ordered_json* member = find(name);
    if (member == nullptr) {
        return std::string{fallback};
    }
    if (!member->is_string()) {
        fail(name, "is no text");
    }
    return member->get<std::string>();
}

void json_object::fail(std::string_view name, std::string_view problem) const {
    throw probe_error{
        exit_code::call_failed,
        "Unusable message: \"" + place_of(name) + "\" " + std::string{problem}};
}

const ordered_json& json_object::array(const char* name) const {
    static const ordered_json none = ordered_json::array();
    const ordered_json* member = find(name);
    if (member == nullptr) {
        return none;
    }
    if (!member->is_array()) {
        fail(name, "is no list");
    }
    return *member;
}

const ordered_json& member(const ordered_json& object, const std::string& name) {
    static const ordered_json nothing;
    if (!object.is_object()) {
        return nothing;
    }
    const auto found = object.find(name);
    return found == object.end() ? nothing : *found;
}

std::string text_of(const ordered_json& value) {
    return value.is_string() ? value.get<std::string>() : std::string{};
}

bool flag_of(const ordered_json& value) {
    return value.is_boolean() && value.get<bool>();
}

std::optional<std::int64_t> integer_of(const ordered_json& value) {
    if (value.is_number_unsigned() && !std::in_range<std::int64_t>(value.get<std::uint64_t>())) {
        return std::nullopt;
    }
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    return parse_number<std::int64_t>(text_of(value));
}

std::vector<std::string> texts_of(const ordered_json& list) {
    std::vector<std::string> texts;
    if (list.is_array()) {
        for (const ordered_json& element : list) {
            if (element.is_string()) {
                texts.push_back(element.get<std::string>());
            }
        }
    }
    return texts;
}

std::string json_line(const ordered_json& object) {
    return object.dump(-1, ' ', true, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace tarvik::monitoring_modules::probe
