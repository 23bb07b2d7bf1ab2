#include "common/catalogue/framework_exceptions.hpp"
#include "support.hpp"
#include "zunohelper/check_result.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/module_information_message.hpp"
#include "zunohelper/scan_result.hpp"

#include <cstring>
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
    map->define({
        .id = -2,
        .name = i18n_msg{"P"},
        .type = channel::value_type::floating_point,
        .unit = {.text = "bar"},
        .multiplier = 0.001,
    });
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
    const sensor_scan_result untranslated{1, std::runtime_error{"stod"}};
    EXPECT_EQ(untranslated.message(), i18n_msg{"stod"});
    EXPECT_EQ(untranslated.response_code(), scan_response_codes::error);
}

TEST(sensor_scan_result, writes_every_value_so_that_it_reads_back) {
    using limits = std::numeric_limits<double>;
    for (const std::int64_t value : {INT64_MIN, INT64_MAX, std::int64_t{0}}) {
        sensor_scan_result result{1, two_channels()};
        result.set_value(1, value);
        EXPECT_EQ(json::parse(result.serialize())["channels"][0]["value"], json(value));
    }
    for (const double value :
         {0.1,
          -0.0,
          1e22,
          123456789012345680.0,
          limits::min(),
          limits::denorm_min(),
          limits::max()}) {
        sensor_scan_result result{1, two_channels()};
        result.set_value(2, value);
        const auto parsed = json::parse(result.serialize())["channels"][0]["value"];
        ASSERT_TRUE(parsed.is_number_float());
        const auto read_back = parsed.get<double>();
        EXPECT_EQ(std::memcmp(&read_back, &value, sizeof value), 0) << value;
    }
    const std::pair<double, std::string_view> texts[] = {
        {limits::quiet_NaN(), "NaN"},
        {-limits::quiet_NaN(), "NaN"},
        {limits::infinity(), "Infinity"},
        {-limits::infinity(), "-Infinity"}};
    for (const auto& [value, text] : texts) {
        sensor_scan_result result{1, two_channels()};
        result.set_value(2, value);
        EXPECT_EQ(json::parse(result.serialize())["channels"][0]["value"], json(text));
    }
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
    sensor_scan_result result{1, two_channels()};
    const auto error = [](auto& tested, std::int32_t id, auto value) {
        return error_of([&] { tested.set_value(id, value); });
    };
    EXPECT_EQ(error(result, 3, 1.0), "#:libzunohelper.error.channel_not_defined[3]");
    EXPECT_EQ(error(result, 1, 1.0), "#:libzunohelper.error.invalid_channel_mode[float,float]");
    EXPECT_EQ(
        error(result, 2, std::int64_t{1}),
        "#:libzunohelper.error.invalid_channel_mode[integer,integer]"
    );
    sensor_scan_result failed{1, std::runtime_error{""}};
    EXPECT_EQ(error(failed, 1, 1.0), "#:libzunohelper.error.channel_map_not_initialized[]");
    EXPECT_THROW((sensor_scan_result{1, std::shared_ptr<channel_map>{}}), std::invalid_argument);
}

TEST(channel_definitions, go_out_with_the_next_good_delivered_result) {
    bool host_fails = true;
    std::vector<std::string> sent;
    message_service service{[&](const std::uint8_t* bytes, std::uint64_t count) {
        if (host_fails) {
            throw std::runtime_error{"host"};
        }
        sent.clear();
        const auto message = json::parse(bytes, bytes + count);
        for (const auto& definition : message["channel_definitions"]) {
            sent.push_back(definition["name"]["text"]);
        }
    }};
    const auto map = two_channels();
    using names = std::vector<std::string>;

    EXPECT_THROW(service.send(sensor_scan_result{1, map}), std::runtime_error);
    EXPECT_FALSE(map->is_delivered(1));
    host_fails = false;
    sensor_scan_result failed{1, map};
    failed.set_value(1, std::int64_t{1});
    failed.set_response_code(scan_response_codes::error);
    service.send(failed);
    EXPECT_EQ(sent, names{});
    EXPECT_FALSE(map->is_delivered(1));
    service.send(sensor_scan_result{1, map});
    EXPECT_EQ(sent, (names{"count", "ratio"}));
    EXPECT_TRUE(map->is_delivered(1));
    map->define({.id = 9, .name = i18n_msg{"late"}});
    sensor_scan_result warning{1, map};
    warning.set_response_code(scan_response_codes::warning);
    service.send(warning);
    EXPECT_EQ(sent, names{"late"});
    service.send(sensor_scan_result{1, map});
    EXPECT_EQ(sent, names{});
}

TEST(channel_map, wants_to_be_initialized_and_ids_to_be_unique) {
    channel_map map;
    const std::string not_initialized = "#:libzunohelper.error.channel_map_not_initialized[]";
    EXPECT_EQ(error_of([&] { (void)map.is_defined(2); }), not_initialized);
    EXPECT_EQ(error_of([&] { (void)map.is_delivered(2); }), not_initialized);
    EXPECT_EQ(error_of([&] { (void)map.type_of(2); }), not_initialized);
    map.initialize();
    EXPECT_FALSE(map.is_defined(2));
    map.define({.id = 2, .name = i18n_msg{uptime}});
    EXPECT_TRUE(map.is_defined(2));
    EXPECT_EQ(
        error_of([&] { map.define({.id = 2, .name = i18n_msg{uptime}}); }),
        "#:libzunohelper.error.channel_already_defined[2,Uptime]"
    );
    EXPECT_EQ(map.size(), 1U);
}

TEST(check_result, is_these_bytes) {
    check_result result{3};
    EXPECT_EQ(result.serialize(), R"({"type":"check_result","check_id":3,"success":false})");
    result.set_success(true);
    EXPECT_EQ(result.serialize(), R"({"type":"check_result","check_id":3,"success":true})");
}

TEST(module_information_message, keeps_the_document_and_its_order) {
    constexpr std::string_view document =
        R"({"Version": 1.0, "Text": {"z": "ü"}, "A": {"Text": [true, null]}})";
    EXPECT_EQ(
        (module_information_message{document, true}.serialize()),
        R"({"type":"module_information","module_information":)"
        R"({"Version":1.0,"Text":{"z":"ü"},"A":{"Text":[true,null]}}})"
    );
    EXPECT_EQ(
        (module_information_message{document, false}.serialize()),
        R"({"type":"module_information","module_information":)"
        R"({"Version":1.0,"A":{"Text":[true,null]}}})"
    );
    EXPECT_THROW((module_information_message{"{", true}), libjsonparser::exceptions::parse);
    EXPECT_THROW((module_information_message{"[]", true}), libjsonparser::exceptions::conversion);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
