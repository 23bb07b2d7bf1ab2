#include "zunohelper/common_settings.hpp"

#include "zunohelper/setting_kinds.hpp"

#include <array>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

constexpr std::array<selection_option<bool>, 2> logging_options{
    {{"enabled", true}, {"disabled", false}}};

constexpr std::array<selection_option<common_settings::ip_version>, 2> ip_version_options{
    {{"IPv4", common_settings::ip_version::ipv4}, {"IPv6", common_settings::ip_version::ipv6}}};

} // namespace

common_settings parse_common_settings(const settings_reader& settings) {
    common_settings parsed;
    parsed.host = read(settings, "host", kind_host{});
    parsed.logging =
        parse_selection("logging", settings.get_or("logging", "disabled"), logging_options);
    parsed.timeout = std::chrono::seconds{
        read(settings, "timeout", kind_integer{.minimum = 0}, parsed.timeout.count())};
    parsed.tarvikcloudapikey = read(settings, "tarvikcloudapikey", kind_securestring{}, {});
    parsed.ip =
        parse_selection("ipversion", settings.get_or("ipversion", "IPv4"), ip_version_options);
    return parsed;
}

} // namespace tarvik::monitoring_modules::libzunohelper
