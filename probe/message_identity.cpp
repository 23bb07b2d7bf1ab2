#include "probe/message_identity.hpp"

#include <charconv>

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
        const bool special = escaped.find(text[i]) != std::string_view::npos;
        if (special) {
            const bool escapes = text[i] == '\\' && i + 1 < text.size() &&
                                 escaped.find(text[i + 1]) != std::string_view::npos;
            if (!escapes) {
                return std::nullopt;
            }
            ++i;
        }
        arguments.back() += text[i];
    }
    return arguments;
}

/// @param text what follows the "%"
/// @return how much of it is an index with ":s"; 0: it is none
[[nodiscard]] std::size_t read_placeholder(std::string_view text, std::size_t& index) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    const auto digits = static_cast<std::size_t>(end - text.data());
    return error == std::errc{} && text.substr(digits).starts_with(":s") ? digits + 2 : 0;
}

} // namespace

std::optional<message_identity> parse_identity(std::string_view identity) {
    const std::size_t bracket = identity.find('[');
    if (!identity.starts_with("#:") || bracket == std::string_view::npos || bracket == 2 ||
        !identity.ends_with(']')) {
        return std::nullopt;
    }
    const std::string_view inside =
        identity.substr(bracket + 1, identity.size() - bracket - 2); // without the brackets
    auto arguments = parse_arguments(inside);
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
        std::size_t index = 0;
        const std::size_t size = read_placeholder(text, index);
        if (size == 0 || index >= arguments.size()) {
            return std::nullopt;
        }
        filled += arguments[index];
        text.remove_prefix(size);
    }
}

} // namespace tarvik::monitoring_modules::probe
