#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "tests/opcua/error_text.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using tests::error_of;

namespace {

using enum attribute_id;

template <typename T>
ua_variant scalar(const T& content, std::size_t type) {
    ua_variant variant;
    UA_Variant_setScalarCopy(variant.out(), &content, &UA_TYPES[type]);
    return variant;
}

ua_variant text(const char* content) {
    return scalar(borrowed(content), UA_TYPES_STRING);
}

using attributes = std::vector<attribute_id>;

attributes asked(const generic_node_interface& node) {
    const attribute_list list = node.attributes_to_read();
    return {list.begin(), list.end()};
}

std::unique_ptr<readable_variable_node_interface>
node_with(ua_variant content, const std::string& id = "ns=1;i=7") {
    auto node = make_readable_node(id);
    node->set_attribute(value, std::move(content));
    return node;
}

TEST(variable_node, asks_for_what_it_does_not_know_and_always_for_its_value) {
    const auto node = make_readable_node("ns=1;i=7");
    EXPECT_EQ(asked(*node), (attributes{browse_name, display_name, description, value}));
    EXPECT_THROW(std::ignore = node->display_name(), exceptions::display_name_not_set);
    const UA_QualifiedName name{2, borrowed("Temp")};
    node->set_attribute(browse_name, scalar(name, UA_TYPES_QUALIFIEDNAME));
    node->set_attribute(description, {}); // no text at all still counts as known
    EXPECT_EQ(asked(*node), (attributes{display_name, value}));
    const UA_LocalizedText localized{borrowed("en"), borrowed("Temperature")};
    node->set_attribute(display_name, scalar(localized, UA_TYPES_LOCALIZEDTEXT));
    EXPECT_EQ(asked(*node), attributes{value});
    EXPECT_EQ(node->browse_name(), "2:Temp");
    EXPECT_EQ(node->display_name(), "Temperature");
    EXPECT_EQ(node->description(), "");
}

TEST(generic_node, has_no_value_to_ask_for_or_to_take) {
    const auto node = make_generic_node("ns=1;i=7");
    EXPECT_EQ(asked(*node), (attributes{browse_name, display_name, description}));
    for (const auto attribute : {value, attribute_id{1}}) {
        EXPECT_THROW(
            node->set_attribute(attribute, text("x")), exceptions::unsupported_attribute_type
        );
    }
    EXPECT_THROW(
        node->set_attribute(browse_name, scalar(UA_Int32{1}, UA_TYPES_INT32)),
        exceptions::data_type_mismatch
    );
    EXPECT_THROW(std::ignore = node->browse_name(), exceptions::browse_name_not_set);
}

TEST(integer_value, is_widened_as_its_type_says) {
    UA_EnumValueType enumerated{};
    enumerated.value = -12;
    std::pair<ua_variant, std::int64_t> rows[] = {
        {scalar(UA_SByte{-128}, UA_TYPES_SBYTE), -128},
        {scalar(UA_Byte{255}, UA_TYPES_BYTE), 255},
        {scalar(UA_Int16{-32768}, UA_TYPES_INT16), -32768},
        {scalar(UA_UInt16{65535}, UA_TYPES_UINT16), 65535},
        {scalar(UA_Int32{-5}, UA_TYPES_INT32), -5},
        {scalar(UA_UInt32{4294967295U}, UA_TYPES_UINT32), 4294967295},
        {scalar(UA_Int64{-1}, UA_TYPES_INT64), -1},
        {scalar(UA_UInt64{9223372036854775807U}, UA_TYPES_UINT64), 9223372036854775807},
        {scalar(UA_DateTime{9'999'999}, UA_TYPES_DATETIME), 0}, // just below a second
        {scalar(UA_DateTime{10'000'000}, UA_TYPES_DATETIME), 1},
        {scalar(UA_DateTime{-19'999'999}, UA_TYPES_DATETIME), -1}, // before 1601
        {scalar(enumerated, UA_TYPES_ENUMVALUETYPE), -12},
    };
    for (auto& [content, expected] : rows) {
        const auto node = node_with(std::move(content));
        EXPECT_EQ(node->data_type(), value_kind::integer) << expected;
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

TEST(integer_value, is_taken_where_the_node_id_points_or_the_reason_is_told) {
    const auto three = [](std::size_t length = 3) {
        const UA_Int32 numbers[]{10, 20, 30};
        ua_variant variant;
        UA_Variant_setArrayCopy(variant.out(), numbers, length, &UA_TYPES[UA_TYPES_INT32]);
        return variant;
    };
    const auto one = [] { return scalar(UA_Int32{5}, UA_TYPES_INT32); };
    const std::string not_scalar = exceptions::value_not_scalar{}.what();
    const std::string outside = "Ostrel tried to access index ";
    std::tuple<ua_variant, std::string, std::string> rows[] = {
        {three(), "'ns=1;i=7'[0]", "10"},
        {three(), "'ns=1;i=7'[2]", "30"},
        {three(), "'ns=1;i=7'[3]", outside + "3 in an array with only 3 elements."},
        {three(),
         "'i=7'[9223372036854775807]",
         outside + "9223372036854775807 in an array with only 3 elements."},
        // There is no element 0 to read in an empty array, whatever the stack's pointer says.
        {three(0), "'ns=1;i=7'[0]", outside + "0 in an array with only 0 elements."},
        {three(0), "ns=1;i=7", not_scalar},
        {three(), "ns=1;i=7", not_scalar},
        {one(), "'ns=1;i=7'[0]", "5"},
        {one(), "'ns=1;i=7'[1]", exceptions::not_an_array{}.what()},
        {scalar(UA_UInt64{9223372036854775808U}, UA_TYPES_UINT64),
         "i=7",
         exceptions::value_overflow{}.what()},
        {scalar(UA_Float{1}, UA_TYPES_FLOAT),
         "i=7",
         "DataType mismatch. The DataType of the value is (floatingpoint). The expected DataType "
         "is (integer)."},
        {scalar(UA_Guid{}, UA_TYPES_GUID), "i=7", exceptions::unsupported_data_type{}.what()},
        {ua_variant{}, "i=7", exceptions::value_not_set{}.what()},
    };
    for (auto& row : rows) {
        const auto node = node_with(std::move(std::get<0>(row)), std::get<1>(row));
        std::string number;
        const std::string error =
            error_of([&] { number = std::to_string(node->value_as_int64()); });
        EXPECT_EQ(number.empty() ? error : number, std::get<2>(row));
    }
    const auto guid = node_with(scalar(UA_Guid{}, UA_TYPES_GUID));
    EXPECT_THROW(std::ignore = guid->data_type(), exceptions::unsupported_data_type);
    EXPECT_THROW(std::ignore = make_readable_node("i=7")->data_type(), exceptions::value_not_set);
}

TEST(writeable_node, holds_the_value_as_the_type_it_was_given) {
    const auto node = make_writeable_node("i=7");
    const auto type_after = [&](const auto& content) {
        node->set_value(content);
        return node->value_to_write().type;
    };
    EXPECT_EQ(type_after(true), &UA_TYPES[UA_TYPES_BOOLEAN]);
    EXPECT_EQ(type_after(std::int64_t{42}), &UA_TYPES[UA_TYPES_INT64]);
    EXPECT_EQ(type_after(1.5), &UA_TYPES[UA_TYPES_DOUBLE]);
    EXPECT_EQ(type_after(std::string{"text"}), &UA_TYPES[UA_TYPES_STRING]);
}

TEST(array_node_id, is_read_with_either_quote) {
    const std::tuple<std::string, std::string, std::int64_t> rows[] = {
        {"'ns=1;s=test_one'[4]", "ns=1;s=test_one", 4},
        {"\"ns=1;s=it's\"[0]", "ns=1;s=it's", 0},
        {"'ns=1;s=a\"b'[1]", "ns=1;s=a\"b", 1},
        {"'ns=1;s=a[3]'[012]", "ns=1;s=a[3]", 12},
        {"'ns=1;s=a\nb'[1]", "ns=1;s=a\nb", 1},
        {"'i=5'[9223372036854775807]", "i=5", 9223372036854775807},
    };
    for (const auto& [text, node, index] : rows) {
        ASSERT_TRUE(is_array_node_id(text)) << text;
        const array_element_id element = parse_array_node_id(text);
        EXPECT_EQ(node_id_text(*element.node), node);
        EXPECT_EQ(element.index, index) << text;
    }
}

TEST(array_node_id, rejects_every_other_syntax_with_the_whole_text) {
    const std::vector<std::string> rows[] = {
        {"'a'[ 4]", "'a' [4]", "'a'[-1]", "'a'[+1]", "'a'[]", "'a'[4", "'a'[4]x", "'a'[1][2]"},
        {"'a'", "''[1]", "'a\"[4]", "'", "\"", "'it's'[4]"},
    };
    for (const auto& texts : rows) {
        for (const std::string& text : texts) {
            const std::string error = error_of([&] { std::ignore = parse_array_node_id(text); });
            EXPECT_EQ(error, exceptions::invalid_array_syntax{text}.what());
        }
    }
}

TEST(node_id, is_rejected_as_the_stack_does) {
    const auto refusal = [](const std::string& text) {
        return std::string{exceptions::failed_to_parse_node_id{text, "BadDecodingError"}.what()};
    };
    for (const std::string text : {"", " ns=1;i=5", " 'ns=1;i=5'[1]", "ns=1", "i=x", "\xff"}) {
        EXPECT_FALSE(is_array_node_id(text)) << text;
        EXPECT_EQ(error_of([&] { std::ignore = parse_node_id(text); }), refusal(text));
    }
    const auto array_error = [](const std::string& text) {
        return error_of([&] { std::ignore = parse_array_node_id(text); });
    };
    EXPECT_EQ(array_error("'x'[1]"), "Failed to parse NodeID (x) because of (BadDecodingError).");
    EXPECT_EQ(array_error("'i=5'[99999999999999999999]"), "stol");
    const std::string mebibyte(1U << 20U, 'x'); // needs no stack
    EXPECT_EQ(array_error("'" + mebibyte + "'[1]"), refusal(mebibyte));
}

TEST(node_id, is_the_node_that_was_written_or_refused) {
    const auto named = [](const std::string& text) {
        std::string name;
        const std::string error = error_of([&] { name = node_id_text(*parse_node_id(text)); });
        return name.empty() ? error : name;
    };
    using namespace std::string_literals;
    const std::pair<std::string, std::string> good[] = {
        {"ns=65535;i=4294967295", "ns=65535;i=4294967295"},
        {"ns=0001;i=007", "ns=1;i=7"},
        {"ns=2;s=i=4294967296", "ns=2;s=i=4294967296"}, // a text may look like a number
        {"s=ns=65536;i=", "s=ns=65536;i="},
        {"ns=2;s=a\0b"s, "ns=2;s=a\0b"s}, // a zero byte is a character like any other
    };
    for (const auto& [text, name] : good) {
        EXPECT_EQ(named(text), name);
    }
    for (const std::string& text :
         {"ns=65536;i=1"s,
          "ns=65537;s=x"s,
          "ns=99999999999999999999;i=1"s,
          "i=4294967296"s,
          "ns=1;i=4294967302"s,
          "i=99999999999999999999"s,
          "i="s,
          "ns=1;i="s,
          "ns=;i=1"s,
          "i=-1"s,
          "i=+1"s,
          "i=5\0junk"s,
          "\0"s}) {
        const exceptions::failed_to_parse_node_id refusal{text, "BadDecodingError"};
        EXPECT_EQ(named(text), refusal.what()) << text;
        EXPECT_THROW(std::ignore = parse_array_node_id("'" + text + "'[1]"), decltype(refusal));
    }
}

TEST(node_id, has_an_identifier_without_namespace) {
    EXPECT_EQ(identifier_text(*parse_node_id("ns=3;i=2256")), "i=2256");
    EXPECT_EQ(identifier_text(*parse_node_id("ns=2;s=x;y=z")), "s=x;y=z");
    for (const char* text : {"ns=1;g=09087e75-8e5e-499b-954f-f2a9603db28a", "ns=1;b=aGVsbG8="}) {
        EXPECT_THROW(
            std::ignore = identifier_text(*parse_node_id(text)),
            exceptions::unsupported_identifier_type
        );
    }
}

} // namespace
