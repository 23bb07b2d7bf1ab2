#include "exporter/node_id_form.hpp"

#include "text/number.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <cstdint>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t shown_columns = 60;

[[nodiscard]] bool has_only(std::string_view text, std::string_view letters) {
    return text.find_first_not_of(letters) == std::string_view::npos;
}

/// @return whether this can be the part behind the namespace
[[nodiscard]] bool is_identifier(std::string_view text) {
    constexpr std::string_view hexadecimal = "0123456789abcdefABCDEF-";
    constexpr std::string_view base64 =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    constexpr std::size_t guid_length = 36;
    if (text.size() < 2 || text[1] != '=') {
        return false;
    }
    const std::string_view value = text.substr(2);
    switch (text.front()) {
    case 'i':
        return parse_number<std::uint32_t>(value).has_value();
    case 's':
        return true;
    case 'g':
        return value.size() == guid_length && has_only(value, hexadecimal);
    case 'b':
        return has_only(value, base64);
    default:
        return false;
    }
}

[[nodiscard]] bool is_node_id(std::string_view text) {
    constexpr std::string_view name_space = "ns=";
    if (text.starts_with("nsu=") || text.starts_with("svr=")) {
        return true; // whether it can be resolved is the module's to say
    }
    if (text.starts_with(name_space)) {
        const std::size_t end = std::min(text.find(';'), text.size());
        if (end == text.size() ||
            !parse_number<std::uint16_t>(text.substr(0, end).substr(name_space.size()))) {
            return false;
        }
        text.remove_prefix(end + 1);
    }
    return is_identifier(text);
}

/// @param text begins with a quotation mark
[[nodiscard]] bool is_array_element(std::string_view text) {
    const std::size_t closing = text.find(text.front(), 1);
    if (closing == std::string_view::npos || !is_node_id(text.substr(1, closing - 1))) {
        return false;
    }
    const std::string_view index = text.substr(closing + 1);
    return index.size() > 2 && index.front() == '[' && index.back() == ']' &&
           has_only(index.substr(1, index.size() - 2), "0123456789");
}

} // namespace

std::string doubt_about_node_id(std::string_view text) {
    const std::string shown = "\"" + fit(text, shown_columns) + "\"";
    if (text.starts_with('\'') || text.starts_with('"')) {
        return is_array_element(text) ? ""
                                      : shown + " looks like no element of an array: expected such "
                                                "as 'ns=2;s=Boiler.Zones'[0], with straight "
                                                "quotation marks and square brackets";
    }
    if (text.starts_with("s=") && text.size() > 2 && is_node_id(text.substr(2))) {
        return shown + " counts as a NodeID as a whole: a channel's name is none of ns, i, s, g, b";
    }
    return is_node_id(text) ? ""
                            : shown + " looks like no NodeID: expected such as "
                                      "ns=2;s=Boiler.Temperature or ns=2;i=1234";
}

} // namespace tarvik::monitoring_modules::probe
