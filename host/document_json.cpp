#include "host/document_json.hpp"

#include "host/json.hpp"
#include "host/probe_error.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

[[nodiscard]] text_map texts_in(const ordered_json& document, const std::string& language) {
    text_map texts;
    const ordered_json& entries = member(member(member(document, "Text"), language), "Translation");
    if (entries.is_object()) {
        for (const auto& [key, entry] : entries.items()) {
            texts.emplace(key, text_of(member(entry, "Display")));
        }
    }
    return texts;
}

[[nodiscard]] std::vector<std::string> languages_of(const ordered_json& document) {
    std::vector<std::string> names;
    const ordered_json& texts = member(document, "Text");
    if (texts.is_object()) {
        for (const auto& [name, language] : texts.items()) {
            names.push_back(name);
        }
    }
    return names;
}

/// Puts one member of an entry into the language.
void translate(
    ordered_json& entry, const char* name, const std::string& key, const translation& texts
) {
    const std::string text = text_of(member(entry, name));
    if (!text.empty()) {
        entry[name] = texts.display(key, text);
    }
}

void translate_texts(ordered_json& entry, const std::string& stem, const translation& texts) {
    translate(entry, "Display", stem + ".display", texts);
    translate(entry, "Description", stem + ".description", texts);
    translate(entry, "Help", stem + ".help", texts);
}

/// Calls visit(name, entry) for each member of an object in the document.
template <typename Visitor>
void each(ordered_json& document, const char* name, Visitor visit) {
    if (member(document, name).is_object()) {
        for (auto& [key, entry] : document[name].items()) {
            visit(key, entry);
        }
    }
}

/// Calls visit(element) for each element of a list in an entry.
template <typename Visitor>
void each_element(ordered_json& entry, const char* name, Visitor visit) {
    if (member(entry, name).is_array()) {
        for (ordered_json& element : entry[name]) {
            visit(element);
        }
    }
}

void translate_group(const std::string& group, ordered_json& entry, const translation& texts) {
    each_element(entry, "Items", [&](ordered_json& item) {
        if (!member(item, "Setting").is_object()) {
            return;
        }
        ordered_json& setting = item["Setting"];
        const std::string stem = group + "." + text_of(member(setting, "Name"));
        translate_texts(setting, stem, texts);
        if (member(setting, "Selection").is_object()) {
            each_element(setting["Selection"], "Options", [&](ordered_json& option) {
                const std::string value = text_of(member(option, "Value"));
                translate(option, "Display", stem + ".option." + value, texts);
            });
        }
    });
}

void translate_lookup(const std::string& name, ordered_json& lookup, const translation& texts) {
    each_element(lookup, "LookupValues", [&](ordered_json& entry) {
        if (const auto value = integer_of(member(entry, "Value"))) {
            translate(entry, "Display", "lookup." + name + "." + std::to_string(*value), texts);
        }
    });
}

void translate_all(ordered_json& document, const translation& texts) {
    if (member(document, "MetaData").is_object()) {
        translate_texts(document["MetaData"], "module", texts);
    }
    const auto entry_texts = [&texts](const std::string& name, ordered_json& entry) {
        translate_texts(entry, name, texts);
    };
    each(document, "Sensors", entry_texts);
    each(document, "Checks", entry_texts);
    each(document, "Sections", entry_texts);
    each(document, "Groups", [&texts](const std::string& name, ordered_json& group) {
        translate_group(name, group, texts);
    });
    each(document, "Lookups", [&texts](const std::string& name, ordered_json& lookup) {
        translate_lookup(name, lookup, texts);
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
    for (const auto& [name, section] : sections.items()) {
        groups.update(select(member(document, "Groups"), texts_of(member(section, "Groups"))));
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
    translation texts{name, texts_in(sent, name), texts_in(sent, default_language)};
    translate_all(sent, texts);
    if (sent.contains("Text")) {
        ordered_json kept = ordered_json::object();
        kept[name] = member(member(sent, "Text"), name);
        sent["Text"] = std::move(kept);
    }
    return {std::move(sent), std::move(texts)};
}

std::string
document_json(std::string_view message, std::string_view language, const sensor_description* only) {
    const ordered_json whole = translate_document(message, language).document;
    return json_line(only == nullptr ? whole : part_of(whole, *only));
}

} // namespace tarvik::monitoring_modules::probe
