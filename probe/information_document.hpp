#pragma once
// What the module tells about itself, as far as it serves to read results: lookups for channel
// values and the names of sensors, with their English texts.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// How a channel fares.
enum class channel_state { none, ok, warning, error };

struct lookup_value {
    std::string text;
    channel_state state = channel_state::none;
};

class information_document final {
  public:
    /// A document that knows nothing: values show as numbers, sensors as their kinds.
    information_document() = default;

    /// @param message a module_information message. Entries that make no sense are left out.
    /// @throws probe_error (call_failed) when it is no such message at all
    explicit information_document(std::string_view message);

    /// @return nothing for an unknown lookup or value
    [[nodiscard]] std::optional<lookup_value>
    find(const std::string& lookup, std::int64_t value) const;

    /// @return the display name, or the kind itself
    [[nodiscard]] std::string sensor_name(const std::string& kind) const;

  private:
    std::map<std::string, std::map<std::int64_t, lookup_value>> lookups_;
    std::map<std::string, std::string> sensors_;
};

} // namespace tarvik::monitoring_modules::probe
