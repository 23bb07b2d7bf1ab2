#include "common/catalogue/catalogue.hpp"

#include "common/catalogue/definitions.hpp"

namespace tarvik::monitoring_modules::catalogue {

namespace {

#define CATALOGUE_KEY(name, suffix, text) {CATALOGUE_PREFIX suffix, text},
#define CATALOGUE_TEXT(name, text) CATALOGUE_KEY(name, #name, text)
#define CATALOGUE_ERROR(name, base, text) CATALOGUE_KEY(name, #name, text)
#define CATALOGUE_ERROR_AS(name, base, suffix, text) CATALOGUE_KEY(name, #suffix, text)
#define CATALOGUE_DIRECT_ERROR(name, text) CATALOGUE_KEY(name, #name, text)
#define CATALOGUE_LOOKUP(name, value, text) CATALOGUE_KEY(name##_##value, #name "." #value, text)

constexpr libi18n::message_definition messages[] = {
#define CATALOGUE_PREFIX "certificate_helper.error."
#include "common/catalogue/certificate_helper.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "libparser.error."
#include "common/catalogue/libparser.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "libjsonparser.error."
#include "common/catalogue/libjsonparser.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "libi18n.error."
#include "common/catalogue/libi18n.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "libzunohelper.error."
#include "common/catalogue/libzunohelper.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "error."
#include "common/catalogue/opcua.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "message."
#include "common/catalogue/message.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "channel."
#include "common/catalogue/channel.inc"
#undef CATALOGUE_PREFIX
#define CATALOGUE_PREFIX "lookup."
#include "common/catalogue/lookup.inc"
#undef CATALOGUE_PREFIX
};

#undef CATALOGUE_LOOKUP
#define CATALOGUE_LOOKUP(name, value, text) {#name, value, catalogue::lookup::name##_##value},

constexpr lookup_value lookup_values[] = {
#include "common/catalogue/lookup.inc"
};

} // namespace

std::span<const libi18n::message_definition> all_messages() {
    return messages;
}

std::span<const lookup_value> all_lookup_values() {
    return lookup_values;
}

} // namespace tarvik::monitoring_modules::catalogue
