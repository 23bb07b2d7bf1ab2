#include "probe/allowed_values.hpp"

#include "probe/terminal_text.hpp"
#include "probe/value_format.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Texts may be as long as a whole record then, which nobody needs to be told.
constexpr std::int64_t practically_endless = 65'536;

[[nodiscard]] bool is_long(const text_values& values) {
    return !values.longest || *values.longest >= practically_endless;
}

template <typename Number>
[[nodiscard]] std::string limits_text(std::string text, const number_values<Number>& values) {
    const auto number = [](Number limit) { return format_number(channel_number{limit}); };
    if (values.least && values.most) {
        return text + " from " + number(*values.least) + " to " + number(*values.most);
    }
    if (values.least) {
        text += " of at least " + number(*values.least);
    }
    if (values.most) {
        text += " of at most " + number(*values.most);
    }
    return text;
}

/// Reads a number as the module does: the whole text, without blanks or "+".
template <typename Number>
[[nodiscard]] bool is_within(const number_values<Number>& values, const std::string& text) {
    Number number{};
    const char* const end_of_text = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), end_of_text, number);
    return error == std::errc{} && end == end_of_text &&
           std::isfinite(static_cast<double>(number)) &&
           (!values.least || number >= *values.least) && (!values.most || number <= *values.most);
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
        std::string text;
        for (const selection_option& option : values.options) {
            text += (text.empty() ? "one of " : ", ") + option.value;
        }
        return text.empty() ? "nothing" : text;
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
    bool operator()(const selection_values& values) const {
        return std::ranges::find(values.options, text, &selection_option::value) !=
               values.options.end();
    }
    template <typename Number>
    bool operator()(const number_values<Number>& values) const {
        return is_within(values, text);
    }
};

} // namespace

std::string allowed_text(const allowed_values& values) {
    return std::visit(describer{}, values);
}

bool is_allowed(const allowed_values& values, const std::string& text) {
    return std::visit(judge{text}, values);
}

} // namespace tarvik::monitoring_modules::probe
