

#include "host/message_translation.hpp"

#include "host/json.hpp"

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

} // namespace

std::string with_translations(const std::string& message, const translation& texts) {
    if (texts.english()) {
        return message;
    }
    ordered_json document = ordered_json::parse(message, nullptr, false);
    if (!document.is_object()) {
        return message;
    }
    add_translation(document, "message", texts);
    if (member(document, "channel_definitions").is_array()) {
        for (ordered_json& definition : document["channel_definitions"]) {
            add_translation(definition, "name", texts);
        }
    }
    return document.dump();
}

} // namespace tarvik::monitoring_modules::probe
