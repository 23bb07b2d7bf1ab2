#pragma once
// The module's texts in one language: which languages there are, the identity by which the module
// names a message, and the text for it.

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The languages in which modules have texts: code, and name as the module has it.
inline constexpr auto module_languages =
    std::to_array<std::pair<std::string_view, std::string_view>>(
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

inline constexpr const char* default_language = "English";

/// @param chosen as for language_name
[[nodiscard]] bool is_english(std::string_view chosen);

/// @param chosen a code such as "de", or a name such as "German", in any case
/// @param of_document names of the languages of which the module has texts
/// @return the name that the module uses: "German"
/// @throws probe_error (usage) for any other text; its message lists the languages
[[nodiscard]] std::string
language_name(std::string_view chosen, const std::vector<std::string>& of_document);

struct message_identity {
    std::string key;
    std::vector<std::string> arguments; ///< never empty: "[]" holds one empty argument
};

/// @param identity "#:key[argument,argument]", where each of # , : [ \ ] in an argument has a
/// backslash before it
/// @return nothing for any other text, such as the plain text of a message without a key
[[nodiscard]] std::optional<message_identity> parse_identity(std::string_view identity);

/// Puts arguments in place of "%0:s", "%1:s" and so on, and "%" in place of "%%". Arguments that no
/// placeholder names are left out.
/// @return nothing when there is another "%", or a placeholder without an argument
[[nodiscard]] std::optional<std::string>
fill_template(std::string_view text, const std::vector<std::string>& arguments);

/// Keys and their texts, which are templates.
using text_map = std::map<std::string, std::string, std::less<>>;

class translation final {
  public:
    /// English, without texts: messages are shown as they come.
    translation() = default;

    /// @param texts of the language; those of English serve where a display text is a key
    translation(std::string language, text_map texts, text_map english)
        : language_{std::move(language)},
          texts_{std::move(texts)},
          english_texts_{std::move(english)} {}

    [[nodiscard]] const std::string& language() const noexcept { return language_; }
    [[nodiscard]] bool english() const { return language_ == default_language; }

    /// Says a message of the module in this language.
    /// @param identity as the module sent it
    /// @param text its English text
    /// @return the text itself in English, and when it has no key or none that this language has,
    /// or when the arguments do not fit
    [[nodiscard]] std::string message(const std::string& identity, const std::string& text) const;

    /// @param key of a display text, by the place where it stands
    /// @param display what stands there: English, or a key
    [[nodiscard]] std::string display(const std::string& key, const std::string& display) const;

  private:
    std::string language_ = default_language;
    text_map texts_;
    text_map english_texts_;
};

} // namespace tarvik::monitoring_modules::probe
