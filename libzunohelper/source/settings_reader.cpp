#include "zunohelper/settings_reader.hpp"

#include "common/catalogue/framework_exceptions.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

settings_reader::settings_reader(texts settings) : texts_{std::move(settings)} {}

std::optional<std::string_view> settings_reader::find(std::string_view key) const {
    const auto found = texts_.find(key);
    return found == texts_.end() ? std::nullopt : std::optional{found->second.view()};
}

std::string_view settings_reader::get(std::string_view key) const {
    if (const auto text = find(key)) {
        return *text;
    }
    throw utils::exceptions::setting_not_available{key};
}

std::string_view settings_reader::get_or(std::string_view key, std::string_view fallback) const {
    return find(key).value_or(fallback);
}

} // namespace tarvik::monitoring_modules::libzunohelper
