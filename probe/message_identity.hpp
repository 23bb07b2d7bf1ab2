#pragma once
// By what the module names a message, so that it can be said in another language.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

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

} // namespace tarvik::monitoring_modules::probe
