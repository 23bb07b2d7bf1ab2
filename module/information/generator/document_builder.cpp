#include "module/information/generator/document_builder.hpp"

#include "common/catalogue/catalogue.hpp"
#include "common/version.hpp"
#include "module/information/generator/group_builder.hpp"

#include <stdexcept>
#include <string>

namespace tarvik::monitoring_modules::information {

namespace {

using json = nlohmann::ordered_json;

/// Copies a member if there is one.
void copy(json& to, const json& from, const char* name) {
    if (from.contains(name)) {
        to[name] = from.at(name);
    }
}

json meta_data(const json& structure, const text_table& texts) {
    return {
        {"Vendor", structure.at("Vendor")},
        {"Name", structure.at("Name")},
        {"Display", texts.english("module.display")},
        {"Description", texts.english("module.description")},
        {"Contact", structure.at("Contact")},
        {"Version", module_version},
    };
}

json sensor(const std::string& kind, const json& structure, const text_table& texts) {
    json entry{
        {"Name", kind},
        {"Display", texts.english(kind + ".display")},
        {"Description", texts.english(kind + ".description")},
        {"Help", texts.english(kind + ".help")},
        {"ManualLink", structure.at("ManualLink")},
        {"ResourceUsage", structure.at("ResourceUsage")},
    };
    copy(entry, structure, "RecommendedInterval");
    entry["Compatibility"] = {"SystemCompatibilityIPv4", "SystemCompatibilityIPv6"};
    entry["Family"] = structure.at("Family");
    copy(entry, structure, "Flag");
    entry["RequiredChecks"] = structure.at("RequiredChecks");
    entry["Settings"] = {{"Sections", structure.at("Sections")}};
    entry["Tags"] = structure.at("Tags");
    return entry;
}

json section(const std::string& name, const json& structure, const text_table& texts) {
    return {
        {"Name", name},
        {"Display", texts.english(name + ".display")},
        {"Scope", structure.at("Scope")},
        {"Groups", structure.at("Groups")},
    };
}

json lookup(const std::string& name, const json& structure) {
    json values = json::array();
    const json& described = structure.at("Values");
    for (const auto& entry : catalogue::all_lookup_values()) {
        if (entry.lookup == name) {
            const json& value = described.at(std::to_string(entry.value));
            values.push_back(
                {{"Value", entry.value},
                 {"Name", value.at(0)},
                 {"Display", entry.text.text},
                 {"State", value.at(1)}}
            );
        }
    }
    if (values.size() != described.size()) {
        throw std::runtime_error{"structure.json: the catalogue has not all values of " + name};
    }
    return {{"Name", name}, {"Mode", structure.at("Mode")}, {"LookupValues", std::move(values)}};
}

json lookups(const json& structure) {
    json list = json::object();
    for (const auto& [name, described] : structure.items()) {
        list[name] = lookup(name, described);
    }
    for (const auto& entry : catalogue::all_lookup_values()) {
        if (!list.contains(entry.lookup)) {
            throw std::runtime_error{"structure.json lacks " + std::string{entry.lookup}};
        }
    }
    return list;
}

/// Builds one member for each member of a part of the structure.
template <typename Build>
json each(const json& structure, const Build& build) {
    json list = json::object();
    for (const auto& [name, described] : structure.items()) {
        list[name] = build(name, described);
    }
    return list;
}

} // namespace

json build_document(const json& structure, const text_table& texts) {
    const auto with_texts = [&](auto build) {
        return [build, &texts](const std::string& name, const json& described) {
            return build(name, described, texts);
        };
    };
    const auto check = [](const std::string& name, const json& sections) -> json {
        return {{"Name", name}, {"Sections", sections}};
    };
    return {
        {"Revision", structure.at("Revision")},
        {"MetaData", meta_data(structure.at("MetaData"), texts)},
        {"Sensors", each(structure.at("Sensors"), with_texts(sensor))},
        {"MetaScans", json::object()},
        {"Checks", each(structure.at("Checks"), check)},
        {"Sections", each(structure.at("Sections"), with_texts(section))},
        {"Groups", each(structure.at("Groups"), with_texts(build_group))},
        {"Lookups", lookups(structure.at("Lookups"))},
    };
}

json build_texts(const text_table& texts) {
    json languages = json::object();
    for (const auto& language : texts.languages()) {
        json translation = json::object();
        for (const auto& [key, text] : language.texts) {
            translation[key] = {{"Display", text}};
        }
        languages[language.name] = {{"Translation", std::move(translation)}};
    }
    return languages;
}

} // namespace tarvik::monitoring_modules::information
