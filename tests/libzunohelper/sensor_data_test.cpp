#include "common/catalogue/framework_exceptions.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

std::string syntax_error(int byte) {
    return "#:libjsonparser.error.parse[Syntax error at byte " + std::to_string(byte) + ".]";
}

/// A record whose one setting stands `depth` objects deep, the record itself included.
std::string nested(std::size_t depth) {
    std::string json = R"({"kind":"k","settings":)";
    for (std::size_t i = 1; i < depth; ++i) {
        json.append(R"({"a":)");
    }
    return json.append("1").append(depth, '}');
}

TEST(sensor_data_wrapper, flattens_settings_to_their_json_texts) {
    const auto data = wrap(R"( {"other": [{"kind": [1]}], "settings": {
        "host": "plc \u00e4\n", "credentials": {"connection_opcua": {"port": 4840, "x.y": ""}, "z": true},
        "credentials.connection_opcua.server_name": "a", "off": false, "none": null,
        "small": 0.001, "large": 18446744073709551615, "beyond": 18446744073709551616,
        "exponent": 1e3, "minus": -0, "least": -9223372036854775808, "twice": 1, "twice": "2",
        "gone": 1, "gone": null, "": "empty", "object": {}}, "kind": "k"} )");
    EXPECT_EQ(data.kind(), "k");
    const std::pair<std::string_view, std::string_view> expected[] = {
        {"", "empty"},
        {"beyond", "18446744073709551616"},
        {"credentials.connection_opcua.port", "4840"},
        {"credentials.connection_opcua.server_name", "a"},
        {"credentials.connection_opcua.x.y", ""},
        {"credentials.z", "true"},
        {"exponent", "1e3"},
        {"host", "plc ä\n"},
        {"large", "18446744073709551615"},
        {"least", "-9223372036854775808"},
        {"minus", "-0"},
        {"off", "false"},
        {"small", "0.001"},
        {"twice", "2"},
    };
    auto row = std::begin(expected);
    ASSERT_EQ(data.settings().all().size(), std::size(expected));
    for (const auto& [key, text] : data.settings().all()) {
        EXPECT_EQ(key, row->first);
        EXPECT_EQ(text.view(), (row++)->second) << key;
    }
    EXPECT_FALSE(data.settings().find("none"));
}

TEST(sensor_data_wrapper, rejects_what_is_no_such_record) {
    const std::pair<std::string_view, std::string> rows[] = {
        {R"({"settings":{}})", "#:libzunohelper.error.setting_not_available[kind]"},
        {R"({"kind":null,"settings":{}})", "#:libzunohelper.error.setting_not_available[kind]"},
        {R"({"kind":"k"})", "#:libzunohelper.error.setting_not_available[settings]"},
        {R"({"kind":"k","settings":null})",
         "#:libzunohelper.error.setting_not_available[settings]"},
        {R"({"kind":1,"settings":{}})", "#:libjsonparser.error.conversion[kind,string]"},
        {R"({"kind":{},"settings":{}})", "#:libjsonparser.error.conversion[kind,string]"},
        {R"({"kind":[],"settings":{}})", "#:libjsonparser.error.conversion[kind,string]"},
        {R"({"kind":"k","settings":"x"})", "#:libjsonparser.error.conversion[settings,object]"},
        {R"({"kind":"k","settings":{"a":{"b":[]}}})",
         "#:libjsonparser.error.unexpected_array[a.b]"},
        {R"({"kind":"k","settings":[]})", "#:libjsonparser.error.unexpected_array[settings]"},
        {"[]", "#:libjsonparser.error.parse[It is not an object.]"},
        {"null", "#:libjsonparser.error.parse[It is not an object.]"},
        {"\"secret\"", "#:libjsonparser.error.parse[It is not an object.]"},
        {"", syntax_error(1)},
        {"{", syntax_error(2)},
        {R"({"kind":"secret" "settings":{}})", syntax_error(27)},
        {R"({"kind":"k","settings":{}}x)", syntax_error(27)},
        {R"({"kind":"k","settings":{"password":"secret)", syntax_error(43)},
        {"{\"kind\":\"\xC3\x28\"}", syntax_error(11)},
        {"{\"kind\":\"\xff\"}", syntax_error(10)},
    };
    for (const auto& [json, error] : rows) {
        std::string found = error_of([&] { (void)wrap(json); });
        std::erase(found, '\\');
        EXPECT_EQ(found, error) << json;
    }
}

TEST(sensor_data_wrapper, has_limits) {
    EXPECT_EQ(error_of([] { (void)wrap(nested(32)); }), "no error");
    EXPECT_EQ(
        error_of([] { (void)wrap(nested(33)); }),
        "#:libjsonparser.error.parse[It is nested too deeply.]"
    );
    const std::string ignored = R"({"kind":"k","settings":{},"x":)" + std::string(500'000, '[');
    EXPECT_THROW((void)wrap(ignored), libjsonparser::exceptions::parse);

    const std::string key(257, 'k');
    EXPECT_TRUE(
        wrap(R"({"kind":"k","settings":{")" + key + R"(":{"a":"1"}}})").settings().all().empty()
    );

    std::string largest = R"({"kind":"k","settings":{}})";
    largest.append(sensor_data_wrapper::max_size_bytes - largest.size(), ' ');
    EXPECT_EQ(error_of([&] { (void)wrap(largest); }), "no error");
    EXPECT_EQ(
        error_of([&] { (void)wrap(largest + " "); }),
        "#:libzunohelper.error.message_too_long[1048577,1048576]"
    );
    EXPECT_THROW((sensor_data_wrapper{nullptr, 0}), libjsonparser::exceptions::parse);
    EXPECT_THROW((sensor_data_wrapper{nullptr, 1}), libjsonparser::exceptions::parse);
}

TEST(sensor_data_wrapper, shows_its_record_without_secrets) {
    const auto data = wrap(R"({"kind":"k","settings":{"host":"a\"\\\u0001ü","tarvikcloudapikey":"s",
        "credentials":{"client_key":{"below":"s"},"client_key_password":"s","password":"",
        "passwords":"p","sub":{"password":"s"}}}})");
    EXPECT_EQ(
        data.to_json(),
        R"({"kind":"k","settings":{"credentials.client_key.below":"*****",)"
        R"("credentials.client_key_password":"*****","credentials.password":"",)"
        R"("credentials.passwords":"p","credentials.sub.password":"*****",)"
        R"("host":"a\"\\\u0001ü","tarvikcloudapikey":"*****"}})"
    );
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
