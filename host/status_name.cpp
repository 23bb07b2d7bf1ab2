#include "host/status_name.hpp"

#include "text/number.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using named_status = std::pair<std::uint32_t, std::string_view>;

#define STATUS_NAME(code, name) named_status{code, name},
constexpr std::array names{
#include "host/status_names.inc"
};
#undef STATUS_NAME
static_assert(std::ranges::is_sorted(names, {}, &named_status::first));

constexpr std::uint32_t first_error = 0x80000000;
constexpr std::uint32_t flags = 0xFFFF; // OPC 10000-4, 7.39.1
constexpr std::string_view decimal_digits = "0123456789";

/// @return the name of an error whose code the text is, without flags; empty: it is none
[[nodiscard]] std::string_view error_named_by(std::string_view text) {
    const auto code = parse_number<std::uint32_t>(text);
    return code && *code >= first_error && (*code & flags) == 0 ? status_name(*code)
                                                                : std::string_view{};
}

} // namespace

std::string_view status_name(std::uint32_t code) noexcept {
    const std::uint32_t upper = code & ~flags;
    const auto* const found = std::ranges::lower_bound(names, upper, {}, &named_status::first);
    return found != names.end() && found->first == upper ? found->second : std::string_view{};
}

std::string with_status_names(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t begin = std::min(text.find_first_of(decimal_digits), text.size());
        result += text.substr(0, begin);
        text.remove_prefix(begin);
        const std::string_view number =
            text.substr(0, std::min(text.find_first_not_of(decimal_digits), text.size()));
        result += number;
        text.remove_prefix(number.size());
        if (const std::string_view name = error_named_by(number); !name.empty()) {
            result.append(" = ").append(name);
        }
    }
    return result;
}

std::string
shown_message(const translation& texts, const std::string& identity, const std::string& text) {
    std::string said = texts.message(identity, text);
    return status_in(identity).empty() ? said : with_status_names(said);
}

std::string status_in(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    for (const std::string& argument : parsed ? parsed->arguments : std::vector<std::string>{}) {
        const auto is_it = [&argument](const named_status& each) {
            return each.second == argument;
        };
        if (std::ranges::any_of(names, is_it)) {
            return argument;
        }
        if (const std::string_view name = error_named_by(argument); !name.empty()) {
            return std::string{name};
        }
    }
    return "";
}

} // namespace tarvik::monitoring_modules::probe
