#pragma once

// What a module tells its host: one JSON object in UTF-8.

#include "zunohelper/export.hpp"

#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

class ZUNOHELPER_API zuno_message {
  public:
    zuno_message() = default;
    zuno_message(const zuno_message&) = delete;
    zuno_message& operator=(const zuno_message&) = delete;
    virtual ~zuno_message();

    /// @return the message's bytes, without a trailing zero; always valid UTF-8.
    [[nodiscard]] virtual std::string serialize() const = 0;

    /// Called by the message service after the host has taken the message, on the same thread.
    virtual void delivered() const noexcept {}
};

} // namespace tarvik::monitoring_modules::libzunohelper
