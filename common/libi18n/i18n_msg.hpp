#pragma once

// A text for users that can be translated: an identity, which a user interface looks up in its
// translations, and the English text to fall back on.
//
// The identity of a keyed message is "#:" + key + "[" + arguments + "]", the arguments separated by
// "," and each of the characters # , : [ \ ] in them preceded by one backslash. A plain text is its
// own identity.

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libi18n {

/// A key of the catalogue with its English template (see libstringutils::format).
struct message_definition {
    std::string_view key;
    std::string_view text;
};

class i18n_msg {
  public:
    /// A message without a key: identity and English text are both `text`.
    explicit i18n_msg(std::string text);

    /// The same with its arguments gathered.
    i18n_msg(const message_definition& definition, std::span<const std::string_view> arguments);

    /// A keyed message.
    /// @param arguments texts for the placeholders of the template; numbers as decimal text.
    /// @throws libstringutils::exceptions::placeholder_index_not_in_arguments when the template
    /// names more.
    template <typename... Texts>
    explicit i18n_msg(const message_definition& definition, const Texts&... arguments)
        : i18n_msg{
              definition,
              std::span<const std::string_view>{std::array<std::string_view, sizeof...(Texts)>{
                  std::string_view{arguments}...}}} {}

    [[nodiscard]] const std::string& identity() const noexcept { return identity_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    friend bool operator==(const i18n_msg&, const i18n_msg&) = default;

  private:
    std::string identity_;
    std::string text_;
};

/// The message that every good scan result starts with: the plain text "OK".
[[nodiscard]] i18n_msg ok_message();

} // namespace tarvik::monitoring_modules::libi18n
