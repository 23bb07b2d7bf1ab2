#include "host/setting_description.hpp"

#include "host/json.hpp"
#include "text/number.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Texts may be as long as a whole record then, which nobody needs to be told.
constexpr std::int64_t practically_endless = 65'536;

[[nodiscard]] bool is_long(const text_values& values) {
    return !values.longest || *values.longest >= practically_endless;
}

[[nodiscard]] std::string limit_text(std::int64_t limit) {
    return std::to_string(limit);
}

[[nodiscard]] std::string limit_text(double limit) {
    return format_number(limit);
}

template <typename Number>
[[nodiscard]] std::string limits_text(std::string text, const number_values<Number>& values) {
    if (values.least && values.most) {
        return text + " from " + limit_text(*values.least) + " to " + limit_text(*values.most);
    }
    if (values.least) {
        text += " of at least " + limit_text(*values.least);
    }
    if (values.most) {
        text += " of at most " + limit_text(*values.most);
    }
    return text;
}

/// Reads a number as the module does: the whole text, without blanks or "+".
template <typename Number>
[[nodiscard]] bool is_within(const number_values<Number>& values, const std::string& text) {
    const std::optional<Number> number = parse_number<Number>(text);
    return number && (!values.least || *number >= *values.least) &&
           (!values.most || *number <= *values.most);
}

struct describer {
    std::string operator()(std::monostate) const { return "any value"; }
    std::string operator()(const text_values& values) const {
        std::string text = values.secret ? "secret text" : "text";
        text += values.several_lines ? " of several lines" : "";
        return is_long(values) ? text
                               : text + (values.several_lines ? "," : " of") + " at most " +
                                     std::to_string(*values.longest) + " characters";
    }
    std::string operator()(const selection_values& values) const {
        return values.options.empty() ? "nothing" : "one of " + joined(values.texts());
    }
    std::string operator()(const number_values<std::int64_t>& values) const {
        return limits_text("whole number", values);
    }
    std::string operator()(const number_values<double>& values) const {
        return limits_text("number", values);
    }
};

struct judge {
    const std::string& text;

    bool operator()(std::monostate) const { return true; }
    bool operator()(const text_values& values) const {
        return !values.longest || std::cmp_less_equal(character_count(text), *values.longest);
    }
    bool operator()(const selection_values& values) const { return contains(values.texts(), text); }
    template <typename Number>
    bool operator()(const number_values<Number>& values) const {
        return is_within(values, text);
    }
};

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

std::string allowed_text(const allowed_values& values) {
    return std::visit(describer{}, values);
}

bool is_allowed(const allowed_values& values, const std::string& text) {
    return std::visit(judge{text}, values);
}

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
    setting.required = contains(flags, "SettingFlagRequired");
    setting.depends_on = text_of(member(item, "DependsOn"));
    setting.condition = split_at(',', text_of(member(item, "Condition")));
    return setting;
}

} // namespace tarvik::monitoring_modules::probe
