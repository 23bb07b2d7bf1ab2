#include "support.hpp"
#include "zunohelper/common_settings.hpp"
#include "zunohelper/setting_kinds.hpp"

#include <array>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

constexpr kind_integer port{.minimum = 1, .maximum = 65535};
constexpr kind_float ratio{.minimum = -0.5, .maximum = 2.0};

/// The error of reading the text without the part that all errors have; "no error" without one.
template <typename Kind>
std::string error_in(const Kind& kind, std::string_view text) {
    std::string error = error_of([&] { (void)kind.parse("x", text); });
    return error.erase(0, error.starts_with("#:libzunohelper.error.") ? 22 : 0);
}

TEST(kind_integer, takes_whole_numbers_within_the_limits_only) {
    EXPECT_EQ(port.parse("x", "1"), 1);
    EXPECT_EQ(port.parse("x", "65535"), 65535);
    EXPECT_EQ(port.parse("x", "04840"), 4840);
    EXPECT_EQ(kind_integer{}.parse("x", "-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(kind_integer{}.parse("x", "9223372036854775807"), INT64_MAX);
    for (const std::string_view text :
         {"", " ", "4840x", " 1", "1 ", "+1", "-", "1.0", "1e3", "0x10", "true", "\xff"}) {
        EXPECT_EQ(error_in(port, text), "setting_invalid[" + std::string{text} + ",x]");
    }
    EXPECT_NE(error_in(port, {"1\0", 2}), "no error");
    const std::string large(20, '9');
    EXPECT_EQ(error_in(port, "0"), "setting_invalid_less_min[0,1]");
    EXPECT_EQ(error_in(port, "65536"), "setting_invalid_bigger_max[65536,65535]");
    EXPECT_EQ(error_in(port, large), "setting_invalid_bigger_max[" + large + ",65535]");
    EXPECT_EQ(error_in(port, "-" + large), "setting_invalid_less_min[-" + large + ",1]");
    EXPECT_EQ(
        error_in(kind_integer{}, "9223372036854775808"),
        "setting_invalid_bigger_max[9223372036854775808,9223372036854775807]"
    );
}

TEST(kind_float, takes_finite_numbers_within_the_limits_only) {
    EXPECT_EQ(ratio.parse("x", "0.001"), 0.001);
    EXPECT_EQ(ratio.parse("x", "-5e-1"), -0.5);
    EXPECT_EQ(ratio.parse("x", "2"), 2);
    for (const std::string_view text :
         {"", "1;5", " 1", "1 ", "+1", "nan", "inf", "-infinity", "1e999", "0x1p3", "1.0.0"}) {
        EXPECT_EQ(error_in(kind_float{}, text), "setting_invalid[" + std::string{text} + ",x]");
    }
    EXPECT_EQ(error_in(kind_float{}, "1,5"), "setting_invalid[1\\,5,x]");
    EXPECT_EQ(error_in(ratio, "-0.6"), "setting_invalid_less_min[-0.6,-0.5]");
    EXPECT_EQ(error_in(ratio, "2.1"), "setting_invalid_bigger_max[2.1,2]");
}

TEST(kind_string, counts_code_points) {
    EXPECT_EQ(kind_string{.max_length = 3}.parse("x", "°C\U0001F600"), "°C\U0001F600");
    EXPECT_EQ(error_in(kind_string{.max_length = 3}, "abcd"), "string_too_long[x,4,3]");
    EXPECT_EQ(error_in(kind_securestring{.max_length = 2}, "pw\xff"), "string_too_long[x,3,2]");
}

TEST(parse_selection, wants_the_exact_text) {
    constexpr std::array<selection_option<int>, 2> options{{{"none", 0}, {"sign", 1}}};
    EXPECT_EQ(parse_selection("mode", "sign", options), 1);
    for (const std::string text : {"", "Sign", "sign ", "si", "signs"}) {
        EXPECT_EQ(
            error_of([&] { (void)parse_selection("mode", text, options); }),
            "#:libzunohelper.error.setting_selection_parse_error[" + text + ",mode]"
        );
    }
}

TEST(common_settings, are_checked_in_order_and_have_defaults_except_for_the_host) {
    settings_reader::texts texts;
    const auto parsed = [&] { return parse_common_settings(settings_reader{texts}); };
    const auto set = [&](const char* key, std::string_view text) {
        texts.insert_or_assign(key, secure_string{text});
    };
    const auto expect_error = [&](const std::string& error) {
        EXPECT_EQ(error_of(parsed), "#:libzunohelper.error." + error);
    };
    set("timeout", ""); // not absent
    expect_error("setting_not_available[host]");
    set("host", "plc");
    expect_error("setting_invalid[,timeout]");
    set("host", {"plc\0.evil", 9});
    expect_error(std::string{"setting_invalid[plc\0.evil,host]", 31});
    set("host", "plc");
    texts.erase("timeout");
    EXPECT_EQ(parsed().timeout, std::chrono::seconds{60});
    EXPECT_FALSE(parsed().logging);
    EXPECT_EQ(parsed().ip, common_settings::ip_version::ipv4);

    set("tarvikcloudapikey", "key");
    set("ipversion", "ipv6");
    expect_error("setting_selection_parse_error[ipv6,ipversion]");
    set("timeout", "-1");
    expect_error("setting_invalid_less_min[-1,0]");
    set("logging", "yes");
    expect_error("setting_selection_parse_error[yes,logging]");
    set("logging", "enabled");
    set("timeout", "5");
    set("ipversion", "IPv6");
    EXPECT_EQ(parsed().host, "plc");
    EXPECT_EQ(parsed().tarvikcloudapikey.view(), "key");
    EXPECT_TRUE(parsed().logging);
    EXPECT_EQ(parsed().timeout, std::chrono::seconds{5});
    EXPECT_EQ(parsed().ip, common_settings::ip_version::ipv6);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
