#include "probe/loose_json.hpp"

#include <charconv>
#include <utility>

namespace tarvik::monitoring_modules::probe {

using nlohmann::ordered_json;

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
    const std::string text = text_of(value);
    std::int64_t result = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{result} : std::nullopt;
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

} // namespace tarvik::monitoring_modules::probe
