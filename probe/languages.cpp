#include "probe/languages.hpp"

#include "probe/probe_error.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr auto codes = std::to_array<std::pair<std::string_view, std::string_view>>(
    {{"de", "German"},
     {"en", "English"},
     {"es", "Spanish"},
     {"fr", "French"},
     {"ja", "Japanese"},
     {"nl", "Dutch"},
     {"pt", "Brazilian"},
     {"ru", "Russian"},
     {"zh", "SimplifiedChinese"}}
);

[[nodiscard]] bool same(std::string_view left, std::string_view right) {
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::ranges::equal(left, right, {}, lower, lower);
}

[[nodiscard]] bool has_code(std::string_view name) {
    return std::ranges::any_of(codes, [&](const auto& code) { return same(code.second, name); });
}

[[nodiscard]] std::string all_languages(const std::vector<std::string>& of_document) {
    std::string list;
    for (const auto& [code, name] : codes) {
        list += (list.empty() ? "" : ", ") + std::string{code} + " (" + std::string{name} + ")";
    }
    for (const std::string& name : of_document) {
        list += has_code(name) ? "" : ", " + name;
    }
    return list;
}

} // namespace

bool is_english(std::string_view chosen) {
    return same(chosen, "en") || same(chosen, default_language);
}

std::string language_name(std::string_view chosen, const std::vector<std::string>& of_document) {
    for (const auto& [code, name] : codes) {
        if (same(chosen, code) || same(chosen, name)) {
            return std::string{name};
        }
    }
    for (const std::string& name : of_document) {
        if (same(chosen, name)) {
            return name;
        }
    }
    throw probe_error{
        exit_code::usage,
        "--language " + std::string{chosen} + ": none of " + all_languages(of_document)};
}

} // namespace tarvik::monitoring_modules::probe
