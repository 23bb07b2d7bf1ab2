#include "host/json.hpp"

#include "text/number.hpp"

namespace tarvik::monitoring_modules::probe {

using nlohmann::ordered_json;

const ordered_json& member(const ordered_json& object, const std::string& name) {
    static const ordered_json nothing;
    const auto found = object.find(name);
    return found == object.end() ? nothing : *found;
}

std::string text_in(const ordered_json& object, const std::string& name) {
    return as<std::string>(member(object, name)).value_or("");
}

bool flag_in(const ordered_json& object, const std::string& name) {
    return as<bool>(member(object, name)).value_or(false);
}

std::optional<std::int64_t> integer_in(const ordered_json& object, const std::string& name) {
    const auto integer = as<std::int64_t>(member(object, name));
    return integer ? integer : parse_number<std::int64_t>(text_in(object, name));
}

std::vector<std::string> texts_in(const ordered_json& object, const std::string& name) {
    std::vector<std::string> texts;
    if (const ordered_json& list = member(object, name); list.is_array()) {
        for (const ordered_json& element : list) {
            if (auto text = as<std::string>(element)) {
                texts.push_back(*std::move(text));
            }
        }
    }
    return texts;
}

std::string json_line(const ordered_json& object) {
    return object.dump(-1, ' ', true, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace tarvik::monitoring_modules::probe
