#pragma once
// The module's texts in one language.

#include "probe/languages.hpp"

#include <map>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

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
