#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/nodes/nodes_open62541.hpp"

#include <array>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::opcua;

namespace {

constexpr auto browse_name = attribute_id::browse_name;
constexpr auto display_name = attribute_id::display_name;
constexpr auto description = attribute_id::description;
constexpr auto value = attribute_id::value;

template <typename T>
ua_variant scalar(const T& content, std::size_t type) {
    ua_variant variant;
    UA_Variant_setScalarCopy(variant.out(), &content, &UA_TYPES[type]);
    return variant;
}

template <typename T, std::size_t N>
ua_variant array_of(const std::array<T, N>& content, std::size_t type) {
    ua_variant variant;
    UA_Variant_setArrayCopy(variant.out(), content.data(), N, &UA_TYPES[type]);
    return variant;
}

ua_variant text(const char* content) {
    return scalar(borrowed(content), UA_TYPES_STRING);
}

std::unique_ptr<readable_variable_node_interface>
node_with(ua_variant content, const std::string& id = "ns=1;i=7") {
    auto node = make_readable_node(id);
    node->set_attribute(value, std::move(content));
    return node;
}

std::vector<attribute_id> asked(const generic_node_interface& node) {
    const attribute_list list = node.attributes_to_read();
    return {list.begin(), list.end()};
}

using testing::ElementsAre;

TEST(variable_node, asks_for_what_it_does_not_know_and_always_for_its_value) {
    const auto node = make_readable_node("ns=1;i=7");
    EXPECT_THAT(asked(*node), ElementsAre(browse_name, display_name, description, value));
    EXPECT_THROW(static_cast<void>(node->display_name()), exceptions::display_name_not_set);
    UA_QualifiedName name{2, borrowed("Temp")};
    node->set_attribute(browse_name, scalar(name, UA_TYPES_QUALIFIEDNAME));
    node->set_attribute(description, {}); // no text at all still counts as known
    EXPECT_THAT(asked(*node), ElementsAre(display_name, value));
    UA_LocalizedText localized{borrowed("en"), borrowed("Temperature")};
    node->set_attribute(display_name, scalar(localized, UA_TYPES_LOCALIZEDTEXT));
    EXPECT_THAT(asked(*node), ElementsAre(value));
    EXPECT_EQ(node->browse_name(), "2:Temp");
    EXPECT_EQ(node->display_name(), "Temperature");
    EXPECT_EQ(node->description(), "");
}

TEST(generic_node, has_no_value_to_ask_for_or_to_take) {
    const auto node = make_generic_node("ns=1;i=7");
    EXPECT_THAT(asked(*node), ElementsAre(browse_name, display_name, description));
    EXPECT_THROW(node->set_attribute(value, text("x")), exceptions::unsupported_attribute_type);
    EXPECT_THROW(
        node->set_attribute(attribute_id{1}, text("x")), exceptions::unsupported_attribute_type
    );
    EXPECT_THROW(
        node->set_attribute(browse_name, scalar(UA_Int32{1}, UA_TYPES_INT32)),
        exceptions::data_type_mismatch
    );
    EXPECT_THROW(static_cast<void>(node->browse_name()), exceptions::browse_name_not_set);
}

struct integer_row {
    std::string name;
    std::function<ua_variant()> make;
    std::int64_t expected;
};

TEST(integer_value, is_widened_as_its_type_says) {
    constexpr auto int64_max = std::numeric_limits<std::int64_t>::max();
    UA_EnumValueType enum_value{};
    enum_value.value = -12;
    const integer_row rows[] = {
        {"SByte", [] { return scalar(UA_SByte{-128}, UA_TYPES_SBYTE); }, -128},
        {"Byte", [] { return scalar(UA_Byte{255}, UA_TYPES_BYTE); }, 255},
        {"Int16", [] { return scalar(UA_Int16{-32768}, UA_TYPES_INT16); }, -32768},
        {"UInt16", [] { return scalar(UA_UInt16{65535}, UA_TYPES_UINT16); }, 65535},
        {"Int32", [] { return scalar(UA_Int32{-5}, UA_TYPES_INT32); }, -5},
        {"UInt32", [] { return scalar(UA_UInt32{4294967295U}, UA_TYPES_UINT32); }, 4294967295},
        {"Int64", [] { return scalar(UA_Int64{-1}, UA_TYPES_INT64); }, -1},
        {"UInt64 at the limit",
         [] { return scalar(UA_UInt64{9223372036854775807U}, UA_TYPES_UINT64); },
         int64_max},
        {"DateTime 0", [] { return scalar(UA_DateTime{0}, UA_TYPES_DATETIME); }, 0},
        {"DateTime just below a second",
         [] { return scalar(UA_DateTime{9'999'999}, UA_TYPES_DATETIME); },
         0},
        {"DateTime one second",
         [] { return scalar(UA_DateTime{10'000'000}, UA_TYPES_DATETIME); },
         1},
        {"DateTime before 1601",
         [] { return scalar(UA_DateTime{-19'999'999}, UA_TYPES_DATETIME); },
         -1},
        {"EnumValueType", [&] { return scalar(enum_value, UA_TYPES_ENUMVALUETYPE); }, -12},
    };
    for (const auto& [name, make, expected] : rows) {
        SCOPED_TRACE(name);
        const auto node = node_with(make());
        EXPECT_EQ(node->data_type(), value_kind::integer);
        EXPECT_EQ(node->value_as_int64(), expected);
    }
}

TEST(values, of_the_other_kinds_are_given_as_they_are) {
    EXPECT_TRUE(node_with(scalar(UA_Boolean{true}, UA_TYPES_BOOLEAN))->value_as_bool());
    EXPECT_EQ(node_with(scalar(UA_Float{0.5F}, UA_TYPES_FLOAT))->value_as_double(), 0.5);
    EXPECT_EQ(node_with(scalar(UA_Double{-1e300}, UA_TYPES_DOUBLE))->value_as_double(), -1e300);
    EXPECT_EQ(node_with(text("a\xff"))->value_as_string(), "a\xff");
    EXPECT_EQ(node_with(scalar(UA_String{}, UA_TYPES_STRING))->value_as_string(), "");
    const UA_QualifiedName standard{0, borrowed("Server")};
    EXPECT_EQ(node_with(scalar(standard, UA_TYPES_QUALIFIEDNAME))->value_as_string(), "Server");
}

template <typename Error, typename Read>
void expect_error(const Read& read, const std::string& expected_text = {}) {
    try {
        static_cast<void>(read());
        ADD_FAILURE() << "nothing thrown";
    } catch (const Error& error) {
        if (!expected_text.empty()) {
            EXPECT_EQ(error.what(), expected_text);
        }
    }
}

TEST(values, that_cannot_be_given_say_why) {
    const auto overflow = node_with(scalar(UA_UInt64{9223372036854775808U}, UA_TYPES_UINT64));
    expect_error<exceptions::value_overflow>([&] { return overflow->value_as_int64(); });
    const auto floating = node_with(scalar(UA_Float{1}, UA_TYPES_FLOAT));
    expect_error<exceptions::data_type_mismatch>(
        [&] { return floating->value_as_int64(); },
        "DataType mismatch. The DataType of the value is (floatingpoint). The expected DataType is "
        "(integer)."
    );
    const auto guid = node_with(scalar(UA_Guid{}, UA_TYPES_GUID));
    expect_error<exceptions::unsupported_data_type>([&] { return guid->value_as_string(); });
    expect_error<exceptions::unsupported_data_type>([&] { return guid->data_type(); });
    const auto fresh = make_readable_node("ns=1;i=7");
    expect_error<exceptions::value_not_set>([&] { return fresh->value_as_bool(); });
    expect_error<exceptions::value_not_set>([&] { return fresh->data_type(); });
}

TEST(array_access, follows_the_shape_of_the_value) {
    const std::array<UA_Int32, 3> numbers{10, 20, 30};
    const auto three = [&] { return array_of(numbers, UA_TYPES_INT32); };
    const auto single = [] { return scalar(UA_Int32{5}, UA_TYPES_INT32); };
    const auto empty = [] { return array_of(std::array<UA_Int32, 0>{}, UA_TYPES_INT32); };

    EXPECT_EQ(node_with(three(), "'ns=1;i=7'[0]")->value_as_int64(), 10);
    EXPECT_EQ(node_with(three(), "'ns=1;i=7'[2]")->value_as_int64(), 30);
    EXPECT_EQ(node_with(single(), "'ns=1;i=7'[0]")->value_as_int64(), 5);
    expect_error<exceptions::not_an_array>([&] {
        return node_with(single(), "'ns=1;i=7'[1]")->value_as_int64();
    });
    expect_error<exceptions::index_out_of_bounds>(
        [&] { return node_with(three(), "'ns=1;i=7'[3]")->value_as_int64(); },
        "Ostrel tried to access index 3 in an array with only 3 elements."
    );
    expect_error<exceptions::index_out_of_bounds>([&] {
        return node_with(three(), "'ns=1;i=7'[9223372036854775807]")->value_as_int64();
    });
    // There is no element 0 to read in an empty array, whatever the stack's pointer says.
    expect_error<exceptions::index_out_of_bounds>([&] {
        return node_with(empty(), "'ns=1;i=7'[0]")->value_as_int64();
    });
    expect_error<exceptions::value_not_scalar>([&] { return node_with(three())->value_as_int64(); }
    );
    expect_error<exceptions::value_not_scalar>([&] { return node_with(empty())->value_as_int64(); }
    );
}

TEST(writeable_node, holds_the_value_as_the_type_it_was_given) {
    const auto node = make_writeable_node("ns=1;i=7");
    const auto type_after = [&](const auto& content) {
        node->set_value(content);
        return node->value_to_write().type;
    };
    EXPECT_EQ(type_after(true), &UA_TYPES[UA_TYPES_BOOLEAN]);
    EXPECT_EQ(type_after(std::int64_t{42}), &UA_TYPES[UA_TYPES_INT64]);
    EXPECT_EQ(type_after(1.5), &UA_TYPES[UA_TYPES_DOUBLE]);
    EXPECT_EQ(type_after(std::string{"text"}), &UA_TYPES[UA_TYPES_STRING]);
    EXPECT_EQ(element_as_string(node->value_to_write(), 0), "text");
}

} // namespace
