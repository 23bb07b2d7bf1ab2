#pragma once

// How the text of one setting becomes a value: the kinds of settings with their limits, and the
// selection, whose value is one of a few fixed texts.
//
//     const auto port = read(settings, "credentials.connection_opcua.port",
//                            kind_integer{.minimum = 1, .maximum = 65535}, 4840);
//
// All texts are read whole and in the same way under every locale: "4840x", " 1" and "+1" are
// errors. An absent setting gives the fallback; an empty text is present and is parsed. The
// arguments of setting_invalid are the text and the key, and no words: it is translated.

#include "common/catalogue/framework_exceptions.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/secure_string.hpp"
#include "zunohelper/settings_reader.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper {

/// A signed decimal number without a sign "+".
struct ZUNOHELPER_API kind_integer {
    using value_type = std::int64_t;

    std::optional<std::int64_t> minimum{}; ///< smallest allowed value; none: that of 64 bits
    std::optional<std::int64_t> maximum{}; ///< largest allowed value; none: that of 64 bits

    /// @throws utils::exceptions::setting_invalid when the text is no whole number.
    /// @throws utils::exceptions::setting_invalid_less_min, setting_invalid_bigger_max
    [[nodiscard]] value_type parse(std::string_view key, std::string_view text) const;
};

/// A decimal floating-point number with "." as decimal point and an optional exponent; finite.
struct ZUNOHELPER_API kind_float {
    using value_type = double;

    std::optional<double> minimum{}; ///< smallest allowed value
    std::optional<double> maximum{}; ///< largest allowed value

    /// @throws utils::exceptions::setting_invalid when the text is no number, not finite, or beyond
    /// the range of a double.
    /// @throws utils::exceptions::setting_invalid_less_min, setting_invalid_bigger_max
    [[nodiscard]] value_type parse(std::string_view key, std::string_view text) const;
};

/// A text as it stands.
struct ZUNOHELPER_API kind_string {
    using value_type = std::string;

    std::optional<std::size_t> max_length{}; ///< in code points

    /// @throws utils::exceptions::string_too_long naming the key.
    [[nodiscard]] value_type parse(std::string_view key, std::string_view text) const;
};

/// The name or address of a host.
struct ZUNOHELPER_API kind_host {
    using value_type = std::string;

    /// @throws utils::exceptions::setting_invalid for a text with a zero byte: what resolves names
    /// would only see what stands before it.
    [[nodiscard]] value_type parse(std::string_view key, std::string_view text) const;
};

/// A secret text as it stands. Its errors never hold the text.
struct ZUNOHELPER_API kind_securestring {
    using value_type = secure_string;

    std::optional<std::size_t> max_length{}; ///< in code points

    /// @throws utils::exceptions::string_too_long naming the key.
    [[nodiscard]] value_type parse(std::string_view key, std::string_view text) const;
};

/// Reads a setting that must be there.
/// @throws utils::exceptions::setting_not_available naming the key; and what Kind::parse throws.
template <typename Kind>
[[nodiscard]] typename Kind::value_type
read(const settings_reader& settings, std::string_view key, const Kind& kind) {
    return kind.parse(key, settings.get(key));
}

/// Reads a setting that may be absent.
/// @param fallback the value of an absent setting; not checked against the limits.
/// @throws what Kind::parse throws.
template <typename Kind>
[[nodiscard]] typename Kind::value_type read(
    const settings_reader& settings,
    std::string_view key,
    const Kind& kind,
    typename Kind::value_type fallback
) {
    const auto text = settings.find(key);
    return text ? kind.parse(key, *text) : fallback;
}

/// One text that a selection may have, and what it stands for.
template <typename Enum>
struct selection_option {
    std::string_view text;
    Enum value;
};

/// Finds what a selection's text stands for.
/// @param setting_name named by the error.
/// @param text must equal one option's text, upper and lower case included.
/// @param options an array, vector or span of selection_option.
/// @throws utils::exceptions::setting_selection_parse_error for any other text.
template <std::ranges::input_range Options>
[[nodiscard]] auto
parse_selection(std::string_view setting_name, std::string_view text, const Options& options)
    -> decltype(std::ranges::range_value_t<Options>::value) {
    for (const auto& option : options) {
        if (option.text == text) {
            return option.value;
        }
    }
    throw utils::exceptions::setting_selection_parse_error{text, setting_name};
}

} // namespace tarvik::monitoring_modules::libzunohelper
