#include "support.hpp"
#include "zunohelper/common_settings.hpp"
#include "zunohelper/setting_kinds.hpp"

#include <array>
#include <span>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

constexpr kind_integer port{.minimum = 1, .maximum = 65535};
constexpr kind_float ratio{.minimum = -0.5, .maximum = 2.0};

std::string invalid(std::string_view text, std::string_view expected) {
    return "#:libzunohelper.error.setting_invalid[" + std::string{text} +
           ",The setting \"x\" needs " + std::string{expected} + ".]";
}

TEST(kind_integer, takes_whole_numbers_within_the_limits) {
    const std::pair<std::string_view, std::int64_t> rows[] = {
        {"1", 1}, {"65535", 65535}, {"04840", 4840}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(port.parse("x", text), expected) << text;
    }
    EXPECT_EQ(kind_integer{}.parse("x", "-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(kind_integer{}.parse("x", "9223372036854775807"), INT64_MAX);
}

TEST(kind_integer, rejects_everything_else) {
    for (const std::string_view text :
         {"", " ", "4840x", " 1", "1 ", "+1", "-", "1.0", "1e3", "0x10", "true", "\xff"}) {
        EXPECT_EQ(error_of([&] { (void)port.parse("x", text); }), invalid(text, "a whole number"));
    }
    EXPECT_NE(error_of([] { (void)port.parse("x", {"1\0", 2}); }), "no error");
    const struct {
        kind_integer kind;
        std::string_view text;
        std::string_view error;
    } rows[] = {
        {port, "0", "setting_invalid_less_min[0,1]"},
        {port, "65536", "setting_invalid_bigger_max[65536,65535]"},
        {port, "99999999999999999999", "setting_invalid_bigger_max[99999999999999999999,65535]"},
        {port, "-99999999999999999999", "setting_invalid_less_min[-99999999999999999999,1]"},
        {{},
         "9223372036854775808",
         "setting_invalid_bigger_max[9223372036854775808,9223372036854775807]"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(
            error_of([&] { (void)row.kind.parse("x", row.text); }),
            "#:libzunohelper.error." + std::string{row.error}
        );
    }
}

TEST(kind_float, takes_finite_numbers_within_the_limits) {
    const std::pair<std::string_view, double> rows[] = {
        {"1", 1}, {"0.001", 0.001}, {"-5e-1", -0.5}, {"2", 2}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(ratio.parse("x", text), expected) << text;
    }
    for (const std::string_view text :
         {"", "1,5", " 1", "1 ", "+1", "nan", "inf", "-infinity", "1e999", "0x1p3", "1.0.0"}) {
        EXPECT_THROW((void)kind_float{}.parse("x", text), utils::exceptions::setting_invalid)
            << text;
    }
    EXPECT_EQ(
        error_of([] { (void)ratio.parse("x", "-0.6"); }),
        "#:libzunohelper.error.setting_invalid_less_min[-0.6,-0.5]"
    );
    EXPECT_EQ(
        error_of([] { (void)ratio.parse("x", "2.1"); }),
        "#:libzunohelper.error.setting_invalid_bigger_max[2.1,2]"
    );
}

TEST(kind_string, counts_code_points) {
    const kind_string kind{.max_length = 3};
    EXPECT_EQ(kind.parse("x", "°C\U0001F600"), "°C\U0001F600");
    EXPECT_EQ(
        error_of([&] { (void)kind.parse("x", "abcd"); }),
        "#:libzunohelper.error.string_too_long[x,4,3]"
    );
    EXPECT_EQ(
        error_of([] { (void)kind_securestring{.max_length = 2}.parse("x", "pw\xff"); }),
        "#:libzunohelper.error.string_too_long[x,3,2]"
    );
}

TEST(read, uses_the_fallback_for_absent_settings_only) {
    const settings_reader settings{{{"empty", secure_string{}}, {"port", secure_string{"502"}}}};
    EXPECT_EQ(read(settings, "port", port), 502);
    EXPECT_EQ(read(settings, "absent", port, 4840), 4840);
    EXPECT_THROW((void)read(settings, "empty", port, 4840), utils::exceptions::setting_invalid);
    EXPECT_EQ(
        error_of([&] { (void)read(settings, "absent", port); }),
        "#:libzunohelper.error.setting_not_available[absent]"
    );
}

TEST(parse_selection, wants_the_exact_text) {
    enum class mode { none, sign };
    constexpr std::array<selection_option<mode>, 2> options{
        {{"none", mode::none}, {"sign", mode::sign}}};
    EXPECT_EQ(parse_selection("mode", "sign", options), mode::sign);
    for (const std::string_view text : {"", "Sign", "sign ", "si", "signs"}) {
        EXPECT_EQ(
            error_of([&] { (void)parse_selection("mode", text, std::span{options}); }),
            "#:libzunohelper.error.setting_selection_parse_error[" + std::string{text} + ",mode]"
        );
    }
}

TEST(common_settings, have_defaults_except_for_the_host) {
    const auto parsed = parse_common_settings(settings_reader{{{"host", secure_string{"plc"}}}});
    EXPECT_EQ(parsed.host, "plc");
    EXPECT_FALSE(parsed.logging);
    EXPECT_EQ(parsed.timeout, std::chrono::seconds{60});
    EXPECT_TRUE(parsed.tarvikcloudapikey.empty());
    EXPECT_EQ(parsed.ip, common_settings::ip_version::ipv4);
}

TEST(common_settings, are_checked_in_order) {
    settings_reader::texts settings;
    const auto failure = [&] {
        return error_of([&] { (void)parse_common_settings(settings_reader{settings}); });
    };
    const auto set = [&](const char* key, std::string_view text) {
        settings.insert_or_assign(key, secure_string{text});
    };
    set("logging", "yes");
    set("timeout", "-1");
    set("ipversion", "ipv6");
    set("tarvikcloudapikey", "key");
    EXPECT_EQ(failure(), "#:libzunohelper.error.setting_not_available[host]");
    set("host", "plc");
    EXPECT_EQ(failure(), "#:libzunohelper.error.setting_selection_parse_error[yes,logging]");
    set("logging", "enabled");
    EXPECT_EQ(failure(), "#:libzunohelper.error.setting_invalid_less_min[-1,0]");
    set("timeout", "5");
    EXPECT_EQ(failure(), "#:libzunohelper.error.setting_selection_parse_error[ipv6,ipversion]");
    set("ipversion", "IPv6");
    const auto parsed = parse_common_settings(settings_reader{settings});
    EXPECT_TRUE(parsed.logging);
    EXPECT_EQ(parsed.timeout, std::chrono::seconds{5});
    EXPECT_EQ(parsed.tarvikcloudapikey.view(), "key");
    EXPECT_EQ(parsed.ip, common_settings::ip_version::ipv6);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
