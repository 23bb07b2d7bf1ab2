#include "module/information/generator/text_table.hpp"

#include "common/catalogue/catalogue.hpp"
#include "module/information/generator/text_marks.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::information {

namespace {

using entries = std::vector<std::pair<std::string, std::string>>;

constexpr std::array<std::string_view, 9> language_names{
    "Russian",
    "Brazilian",
    "Dutch",
    "Japanese",
    "French",
    "Spanish",
    "English",
    "German",
    "SimplifiedChinese",
};

/// The settings that channel 1, which is always on, has not: its switch.
constexpr std::string_view switch_key = "connection_custom.channel{cur}.";

bool is_english(std::string_view language) {
    return language == "English";
}

/// Whether only English has the key: hosts translate names of channels and values themselves.
bool is_english_only(std::string_view key) {
    return key.starts_with("channel.") || key.starts_with("lookup.");
}

std::string file_name(std::string_view language) {
    std::string name{language};
    std::ranges::transform(name, name.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    return name + ".json";
}

entries read_file(const std::filesystem::path& path) {
    std::ifstream file{path};
    if (!file) {
        throw std::runtime_error{path.filename().string() + " cannot be read"};
    }
    entries texts;
    // The callback sees every key, also one that comes twice.
    std::string key;
    const auto keep = [&](int, nlohmann::json::parse_event_t event, nlohmann::json& value) {
        if (event == nlohmann::json::parse_event_t::key) {
            key = value.get<std::string>();
        } else if (event == nlohmann::json::parse_event_t::value) {
            texts.emplace_back(key, value.get<std::string>());
        }
        return true;
    };
    if (!nlohmann::json::parse(file, keep).is_object()) {
        throw std::runtime_error{path.filename().string() + " is no JSON object"};
    }
    return texts;
}

entries english_texts(const std::filesystem::path& folder) {
    entries texts = read_file(folder / file_name("English"));
    for (const auto& message : catalogue::all_messages()) {
        texts.emplace_back(message.key, message.text);
    }
    return texts;
}

[[noreturn]] void
reject(std::string_view language, const std::string& key, const std::string& what) {
    throw std::runtime_error{file_name(language) + ": " + key + ": " + what};
}

void check_text(
    std::string_view language,
    const std::string& key,
    const std::string& text,
    const entries& english
) {
    const auto original = std::ranges::find(english, key, &entries::value_type::first);
    if (original == english.end() || (is_english_only(key) && !is_english(language))) {
        reject(language, key, "there is no such key");
    }
    if (text.empty()) {
        reject(language, key, "the text is empty");
    }
    try {
        if (marks_of(text) != marks_of(original->second)) {
            reject(language, key, "other placeholders or markup than in English");
        }
    } catch (const std::runtime_error& error) {
        reject(language, key, error.what());
    }
}

void check(std::string_view language, const entries& texts, const entries& english) {
    std::map<std::string, int> seen;
    for (const auto& [key, text] : texts) {
        if (++seen[key] > 1) {
            reject(language, key, "comes twice");
        }
        check_text(language, key, text, english);
    }
    for (const auto& [key, text] : english) {
        if (!seen.contains(key) && (is_english(language) || !is_english_only(key))) {
            reject(language, key, "is missing");
        }
    }
}

/// Puts the keys of all channels in place of those with the mark.
entries expand(const entries& texts) {
    const auto has_mark = [](const auto& entry) {
        return entry.first.find(channel_mark) != std::string::npos;
    };
    entries expanded;
    const auto first = std::ranges::find_if(texts, has_mark);
    std::copy(texts.begin(), first, std::back_inserter(expanded));
    for (int channel = 1; channel <= channel_count; ++channel) {
        for (const auto& [key, text] : texts) {
            const bool absent = channel == 1 && key.starts_with(switch_key);
            if (has_mark(std::pair{key, text}) && !absent) {
                expanded.emplace_back(for_channel(key, channel), for_channel(text, channel));
            }
        }
    }
    std::copy_if(first, texts.end(), std::back_inserter(expanded), std::not_fn(has_mark));
    return expanded;
}

} // namespace

std::string for_channel(std::string_view text, int channel) {
    std::string filled{text};
    for (std::size_t at = 0; (at = filled.find(channel_mark, at)) != std::string::npos;) {
        filled.replace(at, channel_mark.size(), std::to_string(channel));
    }
    return filled;
}

text_table::text_table(const std::filesystem::path& folder) {
    const entries original = english_texts(folder);
    for (const std::string_view name : language_names) {
        const entries texts = is_english(name) ? original : read_file(folder / file_name(name));
        check(name, texts, original);
        languages_.push_back({std::string{name}, expand(texts)});
    }
    for (const auto& [key, text] : expand(original)) {
        english_.emplace(key, text);
    }
}

const std::string& text_table::english(const std::string& key) const {
    const auto found = english_.find(key);
    if (found == english_.end()) {
        throw std::runtime_error{"there is no English text for " + key};
    }
    return found->second;
}

} // namespace tarvik::monitoring_modules::information
