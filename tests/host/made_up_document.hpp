#pragma once
// The information document of a module that does not exist: nothing in the probe may know its
// settings.

namespace tarvik::monitoring_modules::probe {

inline constexpr const char* made_up_document = R"({"type": "module_information",
  "module_information": {
    "MetaData": {"Name": "water", "Display": "Water", "Version": "3", "Vendor": "v", "Contact": "c"},
    "Sensors": {
      "pump_sensor": {"Display": "Pump", "Description": "Watches", "Help": "Shows the [b]flow[/b].",
        "RecommendedInterval": 60, "RequiredChecks": ["reach_check", 5],
        "Settings": {"Sections": ["credentials", "pump", "gone"]}},
      "keyed_sensor": {"Display": "some.key"}, "odd": 5},
    "Checks": {"reach_check": {"Sections": ["credentials"]}},
    "Sections": {
      "credentials": {"Display": "Access", "Groups": ["line", "login"]},
      "pump": {"Display": "Pump settings", "Groups": ["parts", "circle", "gone"]}},
    "Groups": {
      "line": {"Items": [
        {"Setting": {"Name": "port", "Display": "Port", "Default": "5", "Flags": ["SettingFlagRequired"],
          "IntegerSigned": {"IsMinimumSet": true, "Minimum": -2, "IsMaximumSet": true, "Maximum": 10}}},
        {"Setting": {"Name": "ratio", "Display": "Ratio",
          "Floatingpoint": {"IsMinimumSet": true, "Minimum": -0.5, "IsMaximumSet": false, "Maximum": 0}}},
        {"Setting": {"Name": "later", "Telepathy": {}}}, {"Setting": {}}, 17]},
      "login": {"Items": [
        {"Setting": {"Name": "way", "Display": "Way", "Default": "open", "Selection": {"Options": [
          {"Value": "open", "Display": "Open"}, {"Value": "user", "Display": "With user"}, {}]}}},
        {"Setting": {"Name": "pin", "Display": "PIN", "Flags": ["SettingFlagRequired"],
          "Text": {"Maxlength": 4, "Security": "SettingSecurityHigh"}},
          "DependsOn": "way", "Condition": "user,card"}]},
      "parts": {"Items": [
        {"Setting": {"Name": "part2", "Display": "Part 2", "Help": "Part 2 of 32", "Default": "off",
          "Selection": {"Options": [{"Value": "off"}, {"Value": "on"}]}}},
        {"Setting": {"Name": "part2_naming", "Display": "Naming 2", "Default": "own",
          "Selection": {"Options": [{"Value": "auto"}, {"Value": "own"}]}},
          "DependsOn": "part2", "Condition": "on"},
        {"Setting": {"Name": "part2_name", "Display": "Name 2", "Flags": ["SettingFlagRequired"],
          "Text": {"Maxlength": 32, "Multiline": true}}, "DependsOn": "part2_naming", "Condition": "own"},
        {"Setting": {"Name": "part3", "Display": "Part 3", "Help": "Part 3 of 32", "Default": "off",
          "Selection": {"Options": [{"Value": "off"}, {"Value": "on"}]}}},
        {"Setting": {"Name": "part4", "Display": "Part 4", "Help": "Part 2 of 32", "Default": "off",
          "Selection": {"Options": [{"Value": "off"}, {"Value": "on"}]}}},
        {"Setting": {"Name": "port", "Display": "Port of the pump", "Text": {}}}]},
      "circle": {"Items": [
        {"Setting": {"Name": "a", "Flags": ["SettingFlagRequired"], "Text": {}},
          "DependsOn": "b", "Condition": ""},
        {"Setting": {"Name": "b", "Flags": ["SettingFlagRequired"], "Text": {}},
          "DependsOn": "a", "Condition": ""},
        {"Setting": {"Name": "c", "Flags": ["SettingFlagRequired"], "Text": {}},
          "DependsOn": "gone", "Condition": ""}]}},
    "Lookups": {
      "state": {"LookupValues": [
        {"Value": 0, "Display": "Running", "State": "LookupValueStateOk"},
        {"Value": "1", "Display": "lookup.failed", "State": "LookupValueStateError"},
        {"Value": 2, "Display": "Off", "State": "LookupValueStateNone"},
        {"Value": [], "Display": "nonsense"}, {"Value": 4}, 17]},
      "nonsense": 5},
    "Text": {
      "English": {"Translation": {
        "some.key": {"Display": "From a key"}, "lookup.failed": {"Display": "Failed"},
        "channel.flow": {"Display": "Flow"}, "channel.load": {"Display": "Load %%"}, "channel.odd": 7,
        "error.leak": {"Display": "Leak at %0:s of %1:s"}}},
      "Klingon": {"Translation": {"pump_sensor.display": {"Display": "bIQ"}}},
      "German": {"Translation": {
        "module.display": {"Display": "Wasser"}, "pump_sensor.display": {"Display": "Pumpe"},
        "pump_sensor.help": {"Display": "Zeigt den [b]Durchfluss[/b] zu 100%%."},
        "pump_sensor.description": {"Display": "kaputt %"},
        "credentials.display": {"Display": "Zugang"}, "line.port.display": {"Display": "Anschluss"},
        "login.way.option.user": {"Display": "Mit Benutzer"},
        "lookup.state.0": {"Display": "In Betrieb"},
        "error.leak": {"Display": "%1:s leckt bei %0:s, 100%%"}, "error.empty": {"Display": ""},
        "error.odd": {"Display": "50 % von %0:s"}, "error.plain": {"Display": "Ohne Angaben"}}}}}})";

} // namespace tarvik::monitoring_modules::probe
