#include "probe/module_setting.hpp"

#include "probe/loose_json.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

[[nodiscard]] std::optional<double> real_of(const ordered_json& value) {
    return value.is_number() ? std::optional{value.get<double>()} : std::nullopt;
}

template <typename Number, typename Read>
[[nodiscard]] number_values<Number> read_limits(const ordered_json& limits, Read read) {
    number_values<Number> values;
    if (flag_of(member(limits, "IsMinimumSet"))) {
        values.least = read(member(limits, "Minimum"));
    }
    if (flag_of(member(limits, "IsMaximumSet"))) {
        values.most = read(member(limits, "Maximum"));
    }
    return values;
}

[[nodiscard]] selection_values read_selection(const ordered_json& selection) {
    selection_values values;
    for (const ordered_json& option : member(selection, "Options")) {
        if (member(option, "Value").is_string()) {
            values.options.push_back(
                {text_of(member(option, "Value")), text_of(member(option, "Display"))}
            );
        }
    }
    return values;
}

[[nodiscard]] bool is_secret(const ordered_json& text) {
    const std::string security = text_of(member(text, "Security"));
    return !security.empty() && security != "SettingSecurityNone";
}

[[nodiscard]] allowed_values read_values(const ordered_json& setting) {
    if (const ordered_json& text = member(setting, "Text"); text.is_object()) {
        return text_values{
            integer_of(member(text, "Maxlength")),
            flag_of(member(text, "Multiline")),
            is_secret(text)};
    }
    if (const ordered_json& selection = member(setting, "Selection"); selection.is_object()) {
        return read_selection(selection);
    }
    if (const ordered_json& whole = member(setting, "IntegerSigned"); whole.is_object()) {
        return read_limits<std::int64_t>(whole, integer_of);
    }
    if (const ordered_json& real = member(setting, "Floatingpoint"); real.is_object()) {
        return read_limits<double>(real, real_of);
    }
    return {};
}

} // namespace

bool module_setting::secret() const {
    const auto* text = std::get_if<text_values>(&values);
    return text != nullptr && text->secret;
}

bool module_setting::several_lines() const {
    const auto* text = std::get_if<text_values>(&values);
    return text != nullptr && text->several_lines;
}

std::optional<module_setting> read_setting(const ordered_json& item, const std::string& stem) {
    const ordered_json& described = member(item, "Setting");
    module_setting setting;
    setting.name = text_of(member(described, "Name"));
    if (setting.name.empty()) {
        return std::nullopt;
    }
    setting.key = stem + setting.name;
    setting.display = text_of(member(described, "Display"));
    setting.help = text_of(member(described, "Help"));
    setting.preset = text_of(member(described, "Default"));
    setting.values = read_values(described);
    const std::vector<std::string> flags = texts_of(member(described, "Flags"));
    setting.required = std::ranges::find(flags, "SettingFlagRequired") != flags.end();
    setting.depends_on = text_of(member(item, "DependsOn"));
    setting.condition = split_at_commas(text_of(member(item, "Condition")));
    return setting;
}

std::vector<std::string> split_at_commas(const std::string& text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        parts.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
    return parts;
}

} // namespace tarvik::monitoring_modules::probe
