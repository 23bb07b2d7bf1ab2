#include "host/module_document.hpp"

#include "host/document_json.hpp"
#include "host/json.hpp"
#include "host/probe_error.hpp"
#include "text/nearest_names.hpp"
#include "text/number.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

/// @return what read(name, entry) returns for each member of an object
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

[[nodiscard]] lookup_description read_lookup(const std::string& name, const ordered_json& entry) {
    lookup_description result{name, {}};
    for (const ordered_json& described : member(entry, "LookupValues")) {
        const std::optional<std::int64_t> value = integer_in(described, "Value");
        const std::string display = text_in(described, "Display");
        const std::string state = text_in(described, "State");
        if (value && !display.empty()) {
            result.values[*value] = {
                display,
                state == "LookupValueStateOk"        ? channel_state::ok
                : state == "LookupValueStateWarning" ? channel_state::warning
                : state == "LookupValueStateError"   ? channel_state::error
                                                     : channel_state::none};
        }
    }
    return result;
}

[[nodiscard]] sensor_description read_sensor(const std::string& kind, const ordered_json& entry) {
    return {
        kind,
        text_in(entry, "Display"),
        text_in(entry, "Description"),
        text_in(entry, "Help"),
        integer_in(entry, "RecommendedInterval"),
        texts_in(entry, "RequiredChecks"),
        texts_in(member(entry, "Settings"), "Sections")};
}

/// @return what a text names if it is the name of a channel; else empty
[[nodiscard]] std::string read_channel_name(const std::string& key, const ordered_json& entry) {
    return key.starts_with("channel.") ? fill_template(text_in(entry, "Display"), {}).value_or("")
                                       : "";
}

template <typename Number>
[[nodiscard]] number_values<Number> read_limits(const ordered_json& limits) {
    const auto limit = [&limits](const char* is_set, const char* name) {
        return flag_in(limits, is_set) ? as<Number>(member(limits, name)) : std::nullopt;
    };
    return {limit("IsMinimumSet", "Minimum"), limit("IsMaximumSet", "Maximum")};
}

[[nodiscard]] allowed_values read_values(const ordered_json& setting) {
    if (const ordered_json& text = member(setting, "Text"); text.is_object()) {
        const std::string security = text_in(text, "Security");
        const bool secret = !security.empty() && security != "SettingSecurityNone";
        return text_values{integer_in(text, "Maxlength"), flag_in(text, "Multiline"), secret};
    }
    if (const ordered_json& selection = member(setting, "Selection"); selection.is_object()) {
        selection_values values;
        for (const ordered_json& option : member(selection, "Options")) {
            if (member(option, "Value").is_string()) {
                values.options.push_back({text_in(option, "Value"), text_in(option, "Display")});
            }
        }
        return values;
    }
    if (const ordered_json& whole = member(setting, "IntegerSigned"); whole.is_object()) {
        return read_limits<std::int64_t>(whole);
    }
    if (const ordered_json& real = member(setting, "Floatingpoint"); real.is_object()) {
        return read_limits<double>(real);
    }
    return {};
}

/// @param stem "section.group."
/// @return without items that have no name
[[nodiscard]] std::vector<module_setting>
read_settings(const ordered_json& items, const std::string& stem) {
    std::vector<module_setting> settings;
    for (const ordered_json& item : items) {
        const ordered_json& described = member(item, "Setting");
        const std::string name = text_in(described, "Name");
        if (!name.empty()) {
            settings.push_back(
                {stem + name,
                 name,
                 text_in(described, "Display"),
                 text_in(described, "Help"),
                 text_in(described, "Default"),
                 read_values(described),
                 contains(texts_in(described, "Flags"), "SettingFlagRequired"),
                 text_in(item, "DependsOn"),
                 split_at(',', text_in(item, "Condition"))}
            );
        }
    }
    return settings;
}

[[nodiscard]] settings_section
read_section(const std::string& name, const ordered_json& entry, const ordered_json& groups) {
    settings_section section{name, text_in(entry, "Display"), {}};
    for (const std::string& group : texts_in(entry, "Groups")) {
        const std::string stem = joined({name, group, ""}, ".");
        const ordered_json& items = member(member(groups, group), "Items");
        section.groups.push_back({group, read_settings(items, stem)});
    }
    return section;
}

[[nodiscard]] std::vector<std::string> texts_of(const selection_values& values) {
    std::vector<std::string> texts;
    for (const selection_option& option : values.options) {
        texts.push_back(option.value);
    }
    return texts;
}

struct describer {
    std::string operator()(std::monostate) const { return "any value"; }
    std::string operator()(const text_values& values) const {
        // A text may be as long as a whole record then, which nobody needs to be told.
        constexpr std::int64_t practically_endless = 65'536;
        std::string text = values.secret ? "secret text" : "text";
        text += values.several_lines ? " of several lines" : "";
        if (const auto longest = values.longest.value_or(practically_endless);
            longest < practically_endless) {
            text += values.several_lines ? "," : " of";
            text += " at most " + std::to_string(longest) + " characters";
        }
        return text;
    }
    std::string operator()(const selection_values& values) const {
        return values.options.empty() ? "nothing" : "one of " + joined(texts_of(values));
    }
    template <typename Number>
    std::string operator()(const number_values<Number>& values) const {
        const auto shown = [](Number limit) {
            if constexpr (std::is_integral_v<Number>) {
                return std::to_string(limit);
            } else {
                return format_number(limit);
            }
        };
        const std::string text = std::is_integral_v<Number> ? "whole number" : "number";
        if (values.least && values.most) {
            return text + " from " + shown(*values.least) + " to " + shown(*values.most);
        }
        return text + (values.least ? " of at least " + shown(*values.least) : "") +
               (values.most ? " of at most " + shown(*values.most) : "");
    }
};

struct judge {
    const std::string& text;

    bool operator()(std::monostate) const { return true; }
    bool operator()(const text_values& values) const {
        return !values.longest || std::cmp_less_equal(character_count(text), *values.longest);
    }
    bool operator()(const selection_values& values) const {
        return contains(texts_of(values), text);
    }
    /// Reads a number as the module does: the whole text, without blanks or "+".
    template <typename Number>
    bool operator()(const number_values<Number>& values) const {
        const std::optional<Number> number = parse_number<Number>(text);
        return number && (!values.least || *number >= *values.least) &&
               (!values.most || *number <= *values.most);
    }
};

} // namespace

std::string allowed_text(const allowed_values& values) {
    return std::visit(describer{}, values);
}

bool is_allowed(const allowed_values& values, const std::string& text) {
    return std::visit(judge{text}, values);
}

module_document::module_document(std::string_view message, std::string_view language) {
    translated_document translated = translate_document(message, language);
    const ordered_json& document = translated.document;
    const ordered_json& module = member(document, "MetaData");
    module_ = {
        text_in(module, "Display"),
        text_in(module, "Description"),
        text_in(module, "Name"),
        text_in(module, "Version"),
        text_in(module, "Vendor"),
        text_in(module, "Contact")};
    sensors_ = read_each(member(document, "Sensors"), read_sensor);
    checks_ = read_each(member(document, "Checks"), [](const auto& kind, const auto& entry) {
        return check_description{kind, texts_in(entry, "Sections")};
    });
    sections_ = read_each(member(document, "Sections"), [&](const auto& name, const auto& entry) {
        return read_section(name, entry, member(document, "Groups"));
    });
    lookups_ = read_each(member(document, "Lookups"), read_lookup);
    for (const ordered_json& texts : member(document, "Text")) {
        const ordered_json& all = member(texts, "Translation");
        const auto named = read_each(all, read_channel_name);
        std::ranges::remove_copy(named, std::back_inserter(channel_names_), std::string{});
    }
    texts_ = std::move(translated.texts);
}

const sensor_description* module_document::find_sensor(std::string_view kind) const {
    return find_by(sensors_, &sensor_description::kind, kind);
}

void module_document::require_sensor(const std::string& kind, const std::string& place) const {
    if (sensors_.empty() || find_sensor(kind) != nullptr) {
        return;
    }
    std::vector<std::string> kinds;
    for (const sensor_description& sensor : sensors_) {
        kinds.push_back(sensor.kind);
    }
    throw usage_error{
        place + kind + ": there is no such sensor" + did_you_mean(nearest_names(kind, kinds))};
}

const check_description* module_document::find_check(std::string_view kind) const {
    return find_by(checks_, &check_description::kind, kind);
}

const settings_section* module_document::find_section(std::string_view name) const {
    return find_by(sections_, &settings_section::name, name);
}

std::optional<lookup_value>
module_document::find(std::string_view lookup_name, std::int64_t value) const {
    const auto* const lookup = find_by(lookups_, &lookup_description::name, lookup_name);
    return lookup != nullptr && lookup->values.contains(value)
               ? std::optional{lookup->values.at(value)}
               : std::nullopt;
}

std::vector<std::string> module_document::texts_of_lookup(std::string_view lookup_name) const {
    std::vector<std::string> texts;
    if (const auto* const lookup = find_by(lookups_, &lookup_description::name, lookup_name)) {
        std::ranges::transform(lookup->values, std::back_inserter(texts), [](const auto& each) {
            return each.second.text;
        });
    }
    return texts;
}

std::string module_document::sensor_name(const std::string& kind) const {
    const sensor_description* const found = find_sensor(kind);
    return found == nullptr || found->display.empty() ? kind : found->display;
}

} // namespace tarvik::monitoring_modules::probe
