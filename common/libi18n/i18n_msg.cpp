#include "common/libi18n/i18n_msg.hpp"

#include "common/libstringutils/format.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libi18n {

namespace {

void append_escaped(std::string& identity, std::string_view argument) {
    constexpr std::string_view escaped = "#,:[\\]";
    for (const char c : argument) {
        if (escaped.find(c) != std::string_view::npos) {
            identity.push_back('\\');
        }
        identity.push_back(c);
    }
}

std::string make_identity(std::string_view key, std::span<const std::string_view> arguments) {
    std::string identity{"#:"};
    identity.append(key).push_back('[');
    for (bool first = true; const std::string_view argument : arguments) {
        if (!std::exchange(first, false)) {
            identity.push_back(',');
        }
        append_escaped(identity, argument);
    }
    identity.push_back(']');
    return identity;
}

} // namespace

i18n_msg::i18n_msg(std::string text) : identity_{text}, text_{std::move(text)} {}

i18n_msg::i18n_msg(
    const message_definition& definition, std::span<const std::string_view> arguments
)
    : identity_{make_identity(definition.key, arguments)},
      text_{libstringutils::format_arguments(definition.text, arguments)} {}

i18n_msg ok_message() {
    return i18n_msg{"OK"};
}

} // namespace tarvik::monitoring_modules::libi18n
