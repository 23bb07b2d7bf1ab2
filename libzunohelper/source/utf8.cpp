#include "utf8.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::libzunohelper::utf8 {

namespace {

/// Which lead bytes begin sequences of one length, and what their second byte may be; all further
/// bytes are 0x80 to 0xBF. The narrower second bytes rule out overlong forms, surrogates and code
/// points above U+10FFFF.
struct lead_rule {
    unsigned char first;
    unsigned char last;
    unsigned char second_first;
    unsigned char second_last;
    std::size_t length;
};

constexpr lead_rule lead_rules[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
};

constexpr bool within(char c, unsigned char first, unsigned char last) {
    const auto byte = static_cast<unsigned char>(c);
    return first <= byte && byte <= last;
}

} // namespace

std::size_t sequence_length(std::string_view text) noexcept {
    if (within(text[0], 0x00, 0x7F)) {
        return 1;
    }
    const auto rule = std::ranges::find_if(lead_rules, [&](const lead_rule& candidate) {
        return within(text[0], candidate.first, candidate.last);
    });
    if (rule == std::end(lead_rules) || text.size() < rule->length ||
        !within(text[1], rule->second_first, rule->second_last)) {
        return 0;
    }
    const auto rest = text.substr(2, rule->length - 2);
    const auto continues = [](char c) { return within(c, 0x80, 0xBF); };
    return std::ranges::all_of(rest, continues) ? rule->length : 0;
}

std::size_t length(std::string_view text) noexcept {
    std::size_t count = 0;
    for (; !text.empty(); ++count) {
        text.remove_prefix(std::max<std::size_t>(sequence_length(text), 1));
    }
    return count;
}

} // namespace tarvik::monitoring_modules::libzunohelper::utf8
