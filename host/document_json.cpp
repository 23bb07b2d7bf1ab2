#include "host/document_json.hpp"

#include "host/json.hpp"
#include "host/probe_error.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

/// Calls visit(name, entry) for each member or element of what is at a place in the document.
template <typename Json, typename Visit>
void each(Json& document, const ordered_json::json_pointer& place, Visit visit) {
    if (document.contains(place)) {
        for (const auto& [name, entry] : document.at(place).items()) {
            visit(name, entry);
        }
    }
}

[[nodiscard]] text_map texts_of(const ordered_json& document, const std::string& language) {
    text_map texts;
    const auto add = [&texts](const std::string& key, const ordered_json& entry) {
        texts.emplace(key, text_in(entry, "Display"));
    };
    each(document, "/Text"_json_pointer / language / "Translation", add);
    return texts;
}

[[nodiscard]] std::vector<std::string> languages_of(const ordered_json& document) {
    std::vector<std::string> names;
    each(document, "/Text"_json_pointer, [&names](const std::string& name, const ordered_json&) {
        names.push_back(name);
    });
    return names;
}

/// Puts one member of an entry into the language.
void translate(
    ordered_json& entry, const char* name, const std::string& key, const translation& texts
) {
    if (const std::string text = text_in(entry, name); !text.empty()) {
        entry[name] = texts.display(key, text);
    }
}

void translate_texts(ordered_json& entry, const std::string& stem, const translation& texts) {
    translate(entry, "Display", stem + ".display", texts);
    translate(entry, "Description", stem + ".description", texts);
    translate(entry, "Help", stem + ".help", texts);
}

void translate_setting(const std::string& group, ordered_json& setting, const translation& texts) {
    const std::string stem = group + "." + text_in(setting, "Name");
    translate_texts(setting, stem, texts);
    each(setting, "/Selection/Options"_json_pointer, [&](const auto&, ordered_json& option) {
        translate(option, "Display", stem + ".option." + text_in(option, "Value"), texts);
    });
}

void translate_all(ordered_json& document, const translation& texts) {
    if (document.contains("MetaData")) {
        translate_texts(document["MetaData"], "module", texts);
    }
    for (const char* const list : {"/Sensors", "/Checks", "/Sections"}) {
        each(document, ordered_json::json_pointer{list}, [&](const auto& name, auto& entry) {
            translate_texts(entry, name, texts);
        });
    }
    each(document, "/Groups"_json_pointer, [&](const std::string& name, ordered_json& group) {
        each(group, "/Items"_json_pointer, [&](const auto&, ordered_json& item) {
            if (item.contains("Setting")) {
                translate_setting(name, item["Setting"], texts);
            }
        });
    });
    each(document, "/Lookups"_json_pointer, [&](const std::string& name, ordered_json& lookup) {
        each(lookup, "/LookupValues"_json_pointer, [&](const auto&, ordered_json& entry) {
            if (const auto value = integer_in(entry, "Value")) {
                translate(entry, "Display", "lookup." + name + "." + std::to_string(*value), texts);
            }
        });
    });
}

/// @return the members of an object that have these names
[[nodiscard]] ordered_json
select(const ordered_json& object, const std::vector<std::string>& names) {
    ordered_json selected = ordered_json::object();
    for (const std::string& name : names) {
        if (const ordered_json& found = member(object, name); !found.is_null()) {
            selected[name] = found;
        }
    }
    return selected;
}

/// @return what of the document belongs to one sensor
[[nodiscard]] ordered_json part_of(const ordered_json& document, const sensor_description& sensor) {
    ordered_json sections = select(member(document, "Sections"), sensor.sections);
    ordered_json groups = ordered_json::object();
    for (const ordered_json& section : sections) {
        groups.update(select(member(document, "Groups"), texts_in(section, "Groups")));
    }
    return {
        {"Sensors", select(member(document, "Sensors"), {sensor.kind})},
        {"Checks", select(member(document, "Checks"), sensor.required_checks)},
        {"Sections", std::move(sections)},
        {"Groups", std::move(groups)}};
}

} // namespace

translated_document translate_document(std::string_view message, std::string_view language) {
    ordered_json whole = ordered_json::parse(message, nullptr, false);
    if (!member(whole, "module_information").is_object()) {
        throw probe_error{exit_code::call_failed, "The module information is unusable"};
    }
    ordered_json& sent = whole["module_information"];
    const std::string name = language_name(language, languages_of(sent));
    translation texts{name, texts_of(sent, name), texts_of(sent, default_language)};
    translate_all(sent, texts);
    if (sent.contains("Text")) {
        sent["Text"] = {{name, member(member(sent, "Text"), name)}};
    }
    return {std::move(sent), std::move(texts)};
}

std::string
document_json(std::string_view message, std::string_view language, const sensor_description* only) {
    const ordered_json whole = translate_document(message, language).document;
    return json_line(only == nullptr ? whole : part_of(whole, *only));
}

} // namespace tarvik::monitoring_modules::probe
