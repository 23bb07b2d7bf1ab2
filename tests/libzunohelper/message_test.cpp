#include "common/catalogue/framework_exceptions.hpp"
#include "support.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/module_information_message.hpp"
#include "zunohelper/scan_result.hpp"

#include <bit>
#include <limits>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using json = nlohmann::json;
using libi18n::i18n_msg;
using channel = dynamic_channel;
constexpr libi18n::message_definition uptime{"channel.uptime", "Uptime"};

std::shared_ptr<channel_map> two_channels() {
    auto map = std::make_shared<channel_map>();
    map->define({.id = 1, .name = i18n_msg{"count"}});
    map->define({.id = 2, .name = i18n_msg{"ratio"}, .type = channel::value_type::floating_point});
    return map;
}

TEST(sensor_scan_result, is_these_bytes) {
    auto map = std::make_shared<channel_map>();
    channel first{.id = 1, .name = i18n_msg{uptime}};
    first.unit.code = channel::unit_code::time_span;
    first.mode = channel::value_mode::difference;
    first.lookup = "states";
    first.limits = channel::limit_values{.lower_warning = 28, .upper_error = 0.5};
    map->define(std::move(first));
    channel second{.id = -2, .name = i18n_msg{"P"}, .type = channel::value_type::floating_point};
    second.unit.text = "bar";
    second.multiplier = 0.001;
    map->define(std::move(second));
    sensor_scan_result result{7, map};
    result.set_value(-2, 12.5);
    result.set_value(1, std::int64_t{41});
    result.set_value(-2, 13.0);
    EXPECT_EQ(
        result.serialize(),
        R"({"type":"sensor_scan_result","sensor_id":7,"error_code":0,"response_code":0,)"
        R"("message":{"identity":"OK","text":"OK"},"channel_definitions":[)"
        R"({"id":1,"name":{"identity":"#:channel.uptime[]","text":"Uptime"},"type":"integer",)"
        R"("unit":{"code":7,"name":"time_span"},"mode":{"code":2,"name":"difference"},)"
        R"("lookup":"states","multiplier":1.0,)"
        R"("limits":{"enabled":true,"lower_warning":28,"upper_error":0.5}},)"
        R"({"id":-2,"name":{"identity":"P","text":"P"},"type":"float",)"
        R"("unit":{"code":0,"name":"custom","text":"bar"},"mode":{"code":1,"name":"absolute"},)"
        R"("lookup":"","multiplier":0.001,"limits":{"enabled":false}}],)"
        R"("channels":[{"id":-2,"value":13.0},{"id":1,"value":41}]})"
    );
}

TEST(sensor_scan_result, of_an_exception_is_an_error_without_channels) {
    const utils::exceptions::channel_not_defined reason{"3"};
    const std::string message =
        R"({"type":"sensor_scan_result","sensor_id":-1,"error_code":0,"response_code":3,)"
        R"("message":{"identity":"#:libzunohelper.error.channel_not_defined[3]",)"
        R"("text":"Channel with ID 3 is not defined."},"channel_definitions":[],"channels":[]})";
    EXPECT_EQ((sensor_scan_result{-1, reason}.serialize()), message);
    const std::exception& plain = reason;
    EXPECT_EQ((sensor_scan_result{-1, plain}.serialize()), message);
    EXPECT_EQ((sensor_scan_result{1, std::runtime_error{"stod"}}.message()), i18n_msg{"stod"});
}

/// A channel's value as it is in the message.
template <typename Number>
json sent(Number value) {
    sensor_scan_result result{1, two_channels()};
    result.set_value(std::is_integral_v<Number> ? 1 : 2, value);
    return json::parse(result.serialize())["channels"][0]["value"];
}

TEST(sensor_scan_result, writes_every_value_so_that_it_reads_back) {
    using limits = std::numeric_limits<double>;
    for (const std::int64_t value : {INT64_MIN, INT64_MAX, std::int64_t{0}}) {
        EXPECT_EQ(sent(value), json(value));
    }
    const double digits_only = 123456789012345680.0;
    for (const double value :
         {0.1, -0.0, 1e22, digits_only, limits::min(), limits::denorm_min(), limits::max()}) {
        ASSERT_TRUE(sent(value).is_number_float());
        const auto bits = [](double number) { return std::bit_cast<std::uint64_t>(number); };
        EXPECT_EQ(bits(sent(value).get<double>()), bits(value)) << value;
    }
    EXPECT_EQ(sent(limits::quiet_NaN()), json("NaN"));
    EXPECT_EQ(sent(-limits::quiet_NaN()), json("NaN"));
    EXPECT_EQ(sent(limits::infinity()), json("Infinity"));
    EXPECT_EQ(sent(-limits::infinity()), json("-Infinity"));
}

TEST(sensor_scan_result, is_valid_json_whatever_a_server_sends) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"°\U0001F600", "°\U0001F600"},
        {{"a\0\x1f\x7f\"\\/\n\r\t\b", 11}, {"a\0\x1f\x7f\"\\/\n\r\t\b", 11}},
        {"\xff-\xC3(\xC3", "\uFFFD-\uFFFD(\uFFFD"},                           // stray, cut short
        {"\xC0\xAF", "\uFFFD\uFFFD"},                                         // overlong
        {"\xE0\x9F\xBF\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"}, // overlong, surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},                     // above U+10FFFF
        {"\xF4\x8F\xBF\xBF\xEF\xBF\xBF", "\U0010FFFF\uFFFF"},
        {"\xE2\x82", "\uFFFD\uFFFD"},
    };
    for (const auto& [text, expected] : rows) {
        sensor_scan_result result{1, two_channels()};
        result.set_message(i18n_msg{std::string{text}});
        EXPECT_EQ(json::parse(result.serialize())["message"]["text"], json(expected));
    }
}

TEST(sensor_scan_result, takes_values_of_its_channels_only) {
    const auto error = [](sensor_scan_result&& result, std::int32_t id, auto value) {
        const std::string identity = error_of([&] { result.set_value(id, value); });
        return identity.substr(identity.rfind('.') + 1);
    };
    const auto good = [] { return sensor_scan_result{1, two_channels()}; };
    EXPECT_EQ(error(good(), 3, 1.0), "channel_not_defined[3]");
    EXPECT_EQ(error(good(), 1, 1.0), "invalid_channel_mode[float,float]");
    EXPECT_EQ(error(good(), 2, std::int64_t{1}), "invalid_channel_mode[integer,integer]");
    const std::string no_channels = "channel_map_not_initialized[]";
    EXPECT_EQ(error({1, std::runtime_error{""}}, 1, 1.0), no_channels);
    EXPECT_EQ(error({1, std::make_shared<channel_map>()}, 1, 1.0), no_channels);
    EXPECT_THROW((sensor_scan_result{1, std::shared_ptr<channel_map>{}}), std::invalid_argument);
    EXPECT_EQ(
        error_of([] { two_channels()->define({.id = 2, .name = i18n_msg{uptime}}); }),
        "#:libzunohelper.error.channel_already_defined[2,Uptime]"
    );
}

TEST(channel_definitions, go_out_until_a_good_result_is_delivered) {
    using enum scan_response_codes;
    const auto map = two_channels();
    json message;
    message_service good_host{[&](const std::uint8_t* bytes, std::uint64_t count) {
        message = json::parse(bytes, bytes + count);
    }};
    message_service bad_host{[](auto...) { throw std::runtime_error{"host"}; }};
    const auto definitions = [&](scan_response_codes code, message_service& host) {
        sensor_scan_result result{1, map};
        result.set_value(1, std::int64_t{1});
        result.set_response_code(code);
        host.send(result);
        EXPECT_EQ(message["channels"].size(), code == error ? 0U : 1U);
        return message["channel_definitions"].size();
    };
    EXPECT_THROW(definitions(ok, bad_host), std::runtime_error);
    EXPECT_EQ(definitions(error, good_host), 0U);
    EXPECT_EQ(definitions(ok, good_host), 2U);
    map->define({.id = 9, .name = i18n_msg{"late"}});
    EXPECT_EQ(definitions(warning, good_host), 1U);
    EXPECT_EQ(definitions(ok, good_host), 0U);
}

TEST(module_information_message, keeps_the_document_and_its_order) {
    const auto message = [](std::string_view document, bool texts) {
        return module_information_message{document, texts}.serialize();
    };
    const std::string start =
        R"({"type":"module_information","module_information":{"Version":1.0,)";
    const std::string_view document =
        R"({"Version": 1.0, "Text": {"z": "ü"}, "A": {"Text": null}})";
    EXPECT_EQ(message(document, true), start + R"("Text":{"z":"ü"},"A":{"Text":null}}})");
    EXPECT_EQ(message(document, false), start + R"("A":{"Text":null}}})");
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
