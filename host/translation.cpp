#include "host/translation.hpp"

#include "host/probe_error.hpp"
#include "text/number.hpp"
#include "text/words.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view escaped = "#,:[\\]";

/// @param text what stands between the brackets
[[nodiscard]] std::optional<std::vector<std::string>> parse_arguments(std::string_view text) {
    // Nothing between the brackets is no argument or an empty one. Taken for the latter it serves
    // both, because arguments that a template does not name are left out.
    std::vector<std::string> arguments(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ',') {
            arguments.emplace_back();
            continue;
        }
        const bool escape = text[i] == '\\';
        i += escape ? 1 : 0;
        if (i == text.size() || contains(escaped, text[i]) != escape) {
            return std::nullopt;
        }
        arguments.back() += text[i];
    }
    return arguments;
}

/// @return nothing when there is no text for the key, or one that does not fit
[[nodiscard]] std::optional<std::string>
find(const text_map& texts, const std::string& key, const std::vector<std::string>& arguments) {
    const auto found = texts.find(key);
    if (found == texts.end() || found->second.empty()) {
        return std::nullopt;
    }
    return fill_template(found->second, arguments);
}

} // namespace

bool is_english(std::string_view chosen) {
    return same_in_any_case(chosen, "en") || same_in_any_case(chosen, default_language);
}

std::string language_name(std::string_view chosen, const std::vector<std::string>& of_document) {
    std::vector<std::string> known;
    std::vector<std::string> further = of_document;
    for (const auto& [code, name] : module_languages) {
        if (same_in_any_case(chosen, code) || same_in_any_case(chosen, name)) {
            return std::string{name};
        }
        known.push_back(std::string{code} + " (" + std::string{name} + ")");
        std::erase(further, name);
    }
    for (const std::string& name : further) {
        if (same_in_any_case(chosen, name)) {
            return name;
        }
        known.push_back(name);
    }
    throw usage_error{"--language " + std::string{chosen} + ": none of " + joined(known)};
}

std::optional<message_identity> parse_identity(std::string_view identity) {
    const std::size_t bracket = identity.find('[');
    if (!identity.starts_with("#:") || bracket == std::string_view::npos || bracket == 2 ||
        !identity.ends_with(']')) {
        return std::nullopt;
    }
    auto arguments = parse_arguments(identity.substr(bracket + 1, identity.size() - bracket - 2));
    if (!arguments) {
        return std::nullopt;
    }
    return message_identity{std::string{identity.substr(2, bracket - 2)}, std::move(*arguments)};
}

std::optional<std::string>
fill_template(std::string_view text, const std::vector<std::string>& arguments) {
    std::string filled;
    for (;;) {
        const std::size_t mark = text.find('%');
        filled += text.substr(0, mark);
        if (mark == std::string_view::npos) {
            return filled;
        }
        text.remove_prefix(mark + 1);
        if (text.starts_with('%')) {
            filled += '%';
            text.remove_prefix(1);
            continue;
        }
        const std::size_t end = text.find(":s");
        const auto index = parse_number<std::size_t>(text.substr(0, end));
        if (end == std::string_view::npos || !index || *index >= arguments.size()) {
            return std::nullopt;
        }
        filled += arguments[*index];
        text.remove_prefix(end + 2);
    }
}

std::string translation::message(const std::string& identity, const std::string& text) const {
    // A text that is its own identity has no key, whatever it looks like: a server may have sent
    // it.
    if (english() || identity == text) {
        return text;
    }
    const std::optional<message_identity> parsed = parse_identity(identity);
    return parsed ? find(texts_, parsed->key, parsed->arguments).value_or(text) : text;
}

std::string translation::display(const std::string& key, const std::string& display) const {
    for (const auto& found : {find(texts_, key, {}), find(texts_, display, {})}) {
        if (found) {
            return *found;
        }
    }
    return find(english_texts_, display, {}).value_or(display);
}

} // namespace tarvik::monitoring_modules::probe
