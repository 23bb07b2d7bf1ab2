#pragma once

// The channels that one sensor has defined, and which of them the host knows by now.

#include "zunohelper/dynamic_channel.hpp"
#include "zunohelper/export.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarvik::monitoring_modules::libzunohelper {

/// A new map is not initialised: asking it for channels is an error until initialize or the first
/// define. Not thread-safe; the scans of one sensor come one at a time.
class ZUNOHELPER_API channel_map {
  public:
    channel_map();
    channel_map(const channel_map&) = delete;
    channel_map& operator=(const channel_map&) = delete;
    ~channel_map();

    /// Makes an empty map usable. Does nothing to one in use.
    void initialize() noexcept { initialized_ = true; }

    [[nodiscard]] bool is_initialized() const noexcept { return initialized_; }

    /// Adds a channel; the host learns of it with the next good scan result.
    /// @throws utils::exceptions::channel_already_defined naming id and name.
    void define(dynamic_channel channel);

    /// @throws utils::exceptions::channel_map_not_initialized
    [[nodiscard]] bool is_defined(std::int32_t id) const;

    /// @throws utils::exceptions::channel_not_defined naming the id.
    /// @throws utils::exceptions::channel_map_not_initialized
    [[nodiscard]] dynamic_channel::value_type type_of(std::int32_t id) const;

    /// @return how many channels are defined.
    [[nodiscard]] std::size_t size() const noexcept { return known_.size(); }

    /// @return the channels that the host does not know yet, in the order of their definition;
    /// valid until the next define or mark_delivered.
    [[nodiscard]] std::span<const dynamic_channel> pending() const noexcept { return pending_; }

    /// Notes that the host knows all channels defined so far. Their definitions are let go: of
    /// thousands of sensors only ids and types stay in memory.
    void mark_delivered() noexcept;

  private:
    [[nodiscard]] std::size_t index_of(std::int32_t id) const;

    struct known_channel {
        std::int32_t id;
        dynamic_channel::value_type type;
    };

    bool initialized_ = false;
    std::vector<known_channel> known_;     // in the order of their definition
    std::vector<dynamic_channel> pending_; // the last of them, which the host does not know yet
};

} // namespace tarvik::monitoring_modules::libzunohelper
