#pragma once

// The settings of one sensor, check or notification: dotted key to text, read-only.

#include "zunohelper/export.hpp"
#include "zunohelper/secure_string.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper {

/// A value: copies are independent of each other. Any of the texts may be a secret, so all of them
/// are wiped when the reader is destroyed. Threads may read one object at the same time.
class ZUNOHELPER_API settings_reader {
  public:
    using texts = std::map<std::string, secure_string, std::less<>>;

    settings_reader() = default;

    /// @param settings each key with its text, for example "credentials.connection_opcua.port" and
    /// "4840".
    explicit settings_reader(texts settings);

    /// @return the text of the setting, which may be empty; nothing when the setting is absent. The
    /// view is valid as long as this object.
    [[nodiscard]] std::optional<std::string_view> find(std::string_view key) const;

    /// Like find, for a setting that must be there.
    /// @throws utils::exceptions::setting_not_available naming the key when it is absent.
    [[nodiscard]] std::string_view get(std::string_view key) const;

    /// Like find, with a text for an absent setting.
    /// @param fallback must live as long as the result is used.
    [[nodiscard]] std::string_view get_or(std::string_view key, std::string_view fallback) const;

    /// @return all settings in the order of their keys; valid as long as this object.
    [[nodiscard]] const texts& all() const noexcept { return texts_; }

  private:
    texts texts_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
