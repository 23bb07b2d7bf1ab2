#pragma once

// How channel definitions look in messages.

#include "json_writer.hpp"
#include "zunohelper/dynamic_channel.hpp"

#include <cstddef>

namespace tarvik::monitoring_modules::libzunohelper {

/// Identity and English text.
void write_message(json_writer& json, const libi18n::i18n_msg& message);

void write_channel(json_writer& json, const dynamic_channel& channel);

/// @return about how many bytes write_channel writes.
[[nodiscard]] std::size_t expected_size(const dynamic_channel& channel) noexcept;

} // namespace tarvik::monitoring_modules::libzunohelper
