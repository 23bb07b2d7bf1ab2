#pragma once

// Every text of the catalogue as a constant, such as `catalogue::opcua::opcua_read_failed`: key and
// English template in one. The .inc files are the only place where keys and texts are written down;
// the exception classes (opcua_exceptions.hpp and its siblings) are made from the same lines.

#include "common/libi18n/i18n_msg.hpp"

// In each .inc file:
//   CATALOGUE_TEXT(name, text)                  key is prefix + name
//   CATALOGUE_KEY(name, suffix, text)           key is prefix + suffix
//   CATALOGUE_ERROR(class, base, text)          key is prefix + class name
//   CATALOGUE_ERROR_AS(class, base, name, text) key is prefix + name
//   CATALOGUE_DIRECT_ERROR(class, text)         key is prefix + class name; derives from
//   i18n_exception itself
#define CATALOGUE_KEY(name, suffix, text)                                                          \
    inline constexpr libi18n::message_definition name{CATALOGUE_PREFIX suffix, text};
#define CATALOGUE_TEXT(name, text) CATALOGUE_KEY(name, #name, text)
#define CATALOGUE_ERROR(name, base, text) CATALOGUE_KEY(name, #name, text)
#define CATALOGUE_ERROR_AS(name, base, suffix, text) CATALOGUE_KEY(name, #suffix, text)
#define CATALOGUE_DIRECT_ERROR(name, text) CATALOGUE_KEY(name, #name, text)
#define CATALOGUE_LOOKUP(name, value, text) CATALOGUE_KEY(name##_##value, #name "." #value, text)

namespace tarvik::monitoring_modules::catalogue {

namespace certificate_helper {
#define CATALOGUE_PREFIX "certificate_helper.error."
#include "common/catalogue/certificate_helper.inc"
#undef CATALOGUE_PREFIX
} // namespace certificate_helper

namespace libparser {
#define CATALOGUE_PREFIX "libparser.error."
#include "common/catalogue/libparser.inc"
#undef CATALOGUE_PREFIX
} // namespace libparser

namespace libjsonparser {
#define CATALOGUE_PREFIX "libjsonparser.error."
#include "common/catalogue/libjsonparser.inc"
#undef CATALOGUE_PREFIX
} // namespace libjsonparser

namespace libi18n_error {
#define CATALOGUE_PREFIX "libi18n.error."
#include "common/catalogue/libi18n.inc"
#undef CATALOGUE_PREFIX
} // namespace libi18n_error

namespace libzunohelper {
#define CATALOGUE_PREFIX "libzunohelper.error."
#include "common/catalogue/libzunohelper.inc"
#undef CATALOGUE_PREFIX
} // namespace libzunohelper

namespace opcua {
#define CATALOGUE_PREFIX "error."
#include "common/catalogue/opcua.inc"
#undef CATALOGUE_PREFIX
} // namespace opcua

namespace message {
#define CATALOGUE_PREFIX "message."
#include "common/catalogue/message.inc"
#undef CATALOGUE_PREFIX
} // namespace message

namespace channel {
#define CATALOGUE_PREFIX "channel."
#include "common/catalogue/channel.inc"
#undef CATALOGUE_PREFIX
} // namespace channel

namespace lookup {
#define CATALOGUE_PREFIX "lookup."
#include "common/catalogue/lookup.inc"
#undef CATALOGUE_PREFIX
} // namespace lookup

} // namespace tarvik::monitoring_modules::catalogue

#undef CATALOGUE_LOOKUP
#undef CATALOGUE_DIRECT_ERROR
#undef CATALOGUE_ERROR_AS
#undef CATALOGUE_ERROR
#undef CATALOGUE_TEXT
#undef CATALOGUE_KEY
