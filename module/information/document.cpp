#include "module/information/document.hpp"

#include "common/catalogue/catalogue.hpp"
#include "common/version.hpp"

#include <array>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules {

namespace {

using json = nlohmann::ordered_json;

constexpr int revision = 71;

struct value_entry {
    std::string_view name;
    std::string_view state;
};

constexpr std::string_view ok = "LookupValueStateOk";
constexpr std::string_view warning = "LookupValueStateWarning";
constexpr std::string_view error = "LookupValueStateError";
constexpr std::string_view none = "LookupValueStateNone";
constexpr std::string_view boolean_mode = "LookupDisplayModeBoolean";
constexpr std::string_view integer_mode = "LookupDisplayModeInteger";

// One row for each value of the catalogue's lookups, in the same order; number and text stand
// there.
constexpr std::array values{
    value_entry{"false_", ok},
    value_entry{"true_", error},
    value_entry{"false_", error},
    value_entry{"true_", ok},
    value_entry{"good", ok},
    value_entry{"failed", error},
    value_entry{"offline", warning},
    value_entry{"power_off", none},
    value_entry{"no", ok},
    value_entry{"yes", ok},
    value_entry{"running", ok},
    value_entry{"failed", error},
    value_entry{"no_configuration", warning},
    value_entry{"suspended", warning},
    value_entry{"shut_down", warning},
    value_entry{"test", ok},
    value_entry{"communication_fault", error},
    value_entry{"unknown", error},
};

json custom_sensor() {
    return {
        {"Name", "custom_sensor"},
        {"Display", "OPC UA Custom"},
        {"Description", "Monitors values returned by specific OPC UA NodeIDs"},
        {"Help", "Requires credentials for OPC UA. Shows up to 10 numeric values."},
        {"ManualLink", "/help/OPC_UA_Custom_Sensor.htm"},
        {"ResourceUsage", 2},
        {"Compatibility", {"SystemCompatibilityIPv4", "SystemCompatibilityIPv6"}},
        {"Family",
         {"FamilyKindCustom",
          "FamilyKindHardware",
          "FamilyKindInfrastructure",
          "FamilyKindPush",
          "FamilyKindTCP"}},
        {"RequiredChecks", {"endpoint_validation_check", "connection_check"}},
        {"Settings", {{"Sections", {"credentials", "custom"}}}},
        {"Tags", {"opcua", "opcuacustom"}},
    };
}

json meta_data() {
    return {
        {"Vendor", "tarvik"},
        {"Name", "opcua"},
        {"Display", "OPC UA"},
        {"Description", "Monitoring module to bundle OPC UA-related sensors."},
        {"Contact", "support@tarvik.example"},
        {"Version", module_version},
    };
}

std::string_view mode_of(std::string_view lookup) {
    const bool is_boolean =
        lookup.ends_with("_boolean_lookup") || lookup == "self_signed_certificate";
    return is_boolean ? boolean_mode : integer_mode;
}

json lookups() {
    json list = json::object();
    const auto entries = catalogue::all_lookup_values();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        json& lookup = list[std::string{entries[i].lookup}];
        if (lookup.is_null()) {
            lookup = {
                {"Name", entries[i].lookup},
                {"Mode", mode_of(entries[i].lookup)},
                {"LookupValues", json::array()}};
        }
        lookup["LookupValues"].push_back(
            {{"Value", entries[i].value},
             {"Name", values.at(i).name},
             {"Display", entries[i].text.text},
             {"State", values.at(i).state}}
        );
    }
    return list;
}

json english_texts() {
    json texts = json::object();
    for (const auto& message : catalogue::all_messages()) {
        texts[std::string{message.key}] = {{"Display", message.text}};
    }
    return {{"English", {{"Translation", std::move(texts)}}}};
}

std::string make_document() {
    const json document{
        {"Revision", revision},
        {"MetaData", meta_data()},
        {"Sensors", {{"custom_sensor", custom_sensor()}}},
        {"MetaScans", json::object()},
        {"Checks", json::object()},
        {"Sections", json::object()},
        {"Groups", json::object()},
        {"Lookups", lookups()},
        {"Text", english_texts()},
    };
    return document.dump();
}

} // namespace

const std::string& information_document() {
    static const std::string document = make_document();
    return document;
}

} // namespace tarvik::monitoring_modules
