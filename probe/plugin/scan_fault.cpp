#include "probe/plugin/scan_fault.hpp"

#include "probe/connection_state.hpp"
#include "probe/message_identity.hpp"

#include <algorithm>
#include <array>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr auto settings_keys = std::to_array<std::string_view>(
    {"certificate_helper.error.certificate_empty",
     "certificate_helper.error.certificate_pem_invalid",
     "certificate_helper.error.could_not_load_private_key",
     "certificate_helper.error.data_encipherment_not_supported",
     "certificate_helper.error.missing_application_uri",
     "certificate_helper.error.private_key_empty",
     "error.conversion_failure",
     "error.data_type_mismatch",
     "error.failed_to_parse_node_id",
     "error.index_out_of_bounds",
     "error.invalid_array_syntax",
     "error.invalid_servername",
     "error.nodeid_unknown",
     "error.not_an_array",
     "error.opcua_matching_endpoint_failed",
     "error.unsupported_attribute_type",
     "error.unsupported_data_type",
     "error.unsupported_identifier_type",
     "error.value_not_scalar",
     "error.value_overflow",
     "libzunohelper.error.setting_invalid",
     "libzunohelper.error.setting_invalid_bigger_max",
     "libzunohelper.error.setting_invalid_less_min",
     "libzunohelper.error.setting_not_available",
     "libzunohelper.error.setting_selection_parse_error",
     "libzunohelper.error.string_too_long"}
);

template <typename Names>
[[nodiscard]] bool contains(const Names& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

} // namespace

scan_fault fault_of(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    if (!parsed) {
        return scan_fault::server;
    }
    const auto connection = connection_fault(identity);
    if (connection && connection != connection_state::no_matching_endpoint) {
        return scan_fault::connection;
    }
    return contains(settings_keys, parsed->key) ? scan_fault::settings : scan_fault::server;
}

} // namespace tarvik::monitoring_modules::probe
