#include "probe/translation.hpp"

#include "probe/message_identity.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return nothing when there is no text for the key, or one that does not fit
[[nodiscard]] std::optional<std::string>
find(const text_map& texts, const std::string& key, const std::vector<std::string>& arguments) {
    const auto found = texts.find(key);
    if (found == texts.end() || found->second.empty()) {
        return std::nullopt;
    }
    return fill_template(found->second, arguments);
}

} // namespace

std::string translation::message(const std::string& identity, const std::string& text) const {
    // A text that is its own identity has no key, whatever it looks like: a server may have sent
    // it.
    if (english() || identity == text) {
        return text;
    }
    const std::optional<message_identity> parsed = parse_identity(identity);
    return parsed ? find(texts_, parsed->key, parsed->arguments).value_or(text) : text;
}

std::string translation::display(const std::string& key, const std::string& display) const {
    if (auto text = find(texts_, key, {})) {
        return *text;
    }
    if (auto text = find(texts_, display, {})) {
        return *text;
    }
    return find(english_texts_, display, {}).value_or(display);
}

} // namespace tarvik::monitoring_modules::probe
