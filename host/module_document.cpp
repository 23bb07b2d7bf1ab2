#include "host/module_document.hpp"

#include "host/document_json.hpp"
#include "host/json.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

/// Calls read(name, entry) for each member of an object, and keeps what it returns.
template <typename Read>
[[nodiscard]] auto read_each(const ordered_json& object, Read read) {
    std::vector<decltype(read(std::string{}, object))> entries;
    if (object.is_object()) {
        for (const auto& [name, entry] : object.items()) {
            entries.push_back(read(name, entry));
        }
    }
    return entries;
}

template <typename Entry, typename Member>
[[nodiscard]] const Entry*
find_by(const std::vector<Entry>& entries, Member Entry::*name, std::string_view wanted) {
    const auto found = std::ranges::find(entries, wanted, name);
    return found == entries.end() ? nullptr : &*found;
}

[[nodiscard]] channel_state state_of(const ordered_json& entry) {
    const std::string state = text_of(member(entry, "State"));
    if (state == "LookupValueStateOk") {
        return channel_state::ok;
    }
    if (state == "LookupValueStateWarning") {
        return channel_state::warning;
    }
    return state == "LookupValueStateError" ? channel_state::error : channel_state::none;
}

[[nodiscard]] lookup_description read_lookup(const std::string& name, const ordered_json& entry) {
    lookup_description result{name, {}};
    for (const ordered_json& described : member(entry, "LookupValues")) {
        const std::optional<std::int64_t> value = integer_of(member(described, "Value"));
        const std::string display = text_of(member(described, "Display"));
        if (value && !display.empty()) {
            result.values.insert_or_assign(*value, lookup_value{display, state_of(described)});
        }
    }
    return result;
}

[[nodiscard]] sensor_description read_sensor(const std::string& kind, const ordered_json& entry) {
    return {
        kind,
        text_of(member(entry, "Display")),
        text_of(member(entry, "Description")),
        text_of(member(entry, "Help")),
        integer_of(member(entry, "RecommendedInterval")),
        texts_of(member(entry, "RequiredChecks")),
        texts_of(member(member(entry, "Settings"), "Sections"))};
}

[[nodiscard]] settings_group
read_group(const std::string& name, const std::string& stem, const ordered_json& entry) {
    settings_group group{name, {}};
    for (const ordered_json& item : member(entry, "Items")) {
        if (auto setting = read_setting(item, stem)) {
            group.settings.push_back(std::move(*setting));
        }
    }
    return group;
}

[[nodiscard]] settings_section
read_section(const std::string& name, const ordered_json& entry, const ordered_json& groups) {
    settings_section section{name, text_of(member(entry, "Display")), {}};
    for (const std::string& group : texts_of(member(entry, "Groups"))) {
        std::string stem = name; // of the keys
        stem.append(".").append(group).append(".");
        section.groups.push_back(read_group(group, stem, member(groups, group)));
    }
    return section;
}

[[nodiscard]] module_description read_module(const ordered_json& entry) {
    return {
        text_of(member(entry, "Display")),
        text_of(member(entry, "Description")),
        text_of(member(entry, "Name")),
        text_of(member(entry, "Version")),
        text_of(member(entry, "Vendor")),
        text_of(member(entry, "Contact"))};
}

using nlohmann::ordered_json;

} // namespace

module_document::module_document(std::string_view message, std::string_view language) {
    translated_document translated = translate_document(message, language);
    const ordered_json& document = translated.document;
    module_ = read_module(member(document, "MetaData"));
    sensors_ = read_each(member(document, "Sensors"), read_sensor);
    checks_ = read_each(
        member(document, "Checks"),
        [](const std::string& kind, const ordered_json& entry) {
            return check_description{kind, texts_of(member(entry, "Sections"))};
        }
    );
    sections_ = read_each(
        member(document, "Sections"),
        [&document](const std::string& name, const ordered_json& entry) {
            return read_section(name, entry, member(document, "Groups"));
        }
    );
    lookups_ = read_each(member(document, "Lookups"), read_lookup);
    texts_ = std::move(translated.texts);
}

const sensor_description* module_document::find_sensor(std::string_view kind) const {
    return find_by(sensors_, &sensor_description::kind, kind);
}

const check_description* module_document::find_check(std::string_view kind) const {
    return find_by(checks_, &check_description::kind, kind);
}

const settings_section* module_document::find_section(std::string_view name) const {
    return find_by(sections_, &settings_section::name, name);
}

std::optional<lookup_value>
module_document::find(std::string_view lookup_name, std::int64_t value) const {
    const auto* const values = find_by(lookups_, &lookup_description::name, lookup_name);
    if (values == nullptr) {
        return std::nullopt;
    }
    const auto found = values->values.find(value);
    return found == values->values.end() ? std::nullopt : std::optional{found->second};
}

std::string module_document::sensor_name(const std::string& kind) const {
    const sensor_description* const found = find_sensor(kind);
    return found == nullptr || found->display.empty() ? kind : found->display;
}

} // namespace tarvik::monitoring_modules::probe
