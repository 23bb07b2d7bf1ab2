#pragma once

// Every text of the module in every language. Those of settings, sensors and sections come from one
// file for each language; the English texts of errors, messages, channels and lookups come from the
// catalogue, where the code has them.

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::information {

/// In keys, names and texts of what exists for every channel of a custom sensor: the channel's
/// number.
inline constexpr std::string_view channel_mark = "{cur}";
inline constexpr int channel_count = 10;

/// A text with a channel's number in place of every channel_mark.
[[nodiscard]] std::string for_channel(std::string_view text, int channel);

class text_table {
  public:
    struct language {
        std::string name;                                       ///< as in the document: "German"
        std::vector<std::pair<std::string, std::string>> texts; ///< key and text, keys unique
    };

    /// Reads the files of all languages and compares them with English.
    /// @param folder has one file for each language: german.json.
    /// @throws std::runtime_error naming file and key for a file that cannot be read, a key that is
    /// missing, unknown or doubled, a text that is empty or has other marks than the English one.
    explicit text_table(const std::filesystem::path& folder);

    /// In the order of the document.
    [[nodiscard]] std::span<const language> languages() const noexcept { return languages_; }

    /// @throws std::runtime_error for an unknown key.
    [[nodiscard]] const std::string& english(const std::string& key) const;

  private:
    std::vector<language> languages_;
    std::map<std::string, std::string> english_;
};

} // namespace tarvik::monitoring_modules::information
