#pragma once

// The whole catalogue as one list, for those who publish or check it.

#include "common/libi18n/i18n_msg.hpp"

#include <cstdint>
#include <span>
#include <string_view>

namespace tarvik::monitoring_modules::catalogue {

/// Every key with its English text, in catalogue order; alive as long as the library.
[[nodiscard]] std::span<const libi18n::message_definition> all_messages();

/// One value of a lookup: what users see in place of a channel's number.
struct lookup_value {
    std::string_view lookup;
    std::int64_t value;
    libi18n::message_definition text;
};

/// Every value of every lookup, in catalogue order; alive as long as the library.
[[nodiscard]] std::span<const lookup_value> all_lookup_values();

} // namespace tarvik::monitoring_modules::catalogue
