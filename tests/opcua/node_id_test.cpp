#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/nodes/node_id.hpp"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::opcua;

namespace {

struct array_row {
    std::string text;
    std::string node;
    std::int64_t index;
};

TEST(array_node_id, is_read_with_either_quote) {
    const array_row rows[] = {
        {"'ns=1;s=test_one'[4]", "ns=1;s=test_one", 4},
        {"\"ns=1;s=it's\"[0]", "ns=1;s=it's", 0},
        {"'ns=1;s=a\"b'[1]", "ns=1;s=a\"b", 1},
        {"'ns=1;s=a[3]'[012]", "ns=1;s=a[3]", 12},
        {"'ns=1;s=a\nb'[1]", "ns=1;s=a\nb", 1},
        {"'i=5'[9223372036854775807]", "i=5", 9223372036854775807},
    };
    for (const auto& [text, node, index] : rows) {
        SCOPED_TRACE(text);
        ASSERT_TRUE(is_array_node_id(text));
        const array_element_id element = parse_array_node_id(text);
        EXPECT_EQ(node_id_text(*element.node), node);
        EXPECT_EQ(element.index, index);
    }
}

TEST(array_node_id, rejects_every_other_syntax_with_the_whole_text) {
    for (const std::string text :
         {"'ns=1;s=a'[ 4]",
          "'ns=1;s=a' [4]",
          "'ns=1;s=a'[-1]",
          "'ns=1;s=a'[+1]",
          "'ns=1;s=a'",
          "''[1]",
          "'ns=1;s=a'[4]x",
          "'ns=1;s=a'[]",
          "'ns=1;s=a'[4",
          "'ns=1;s=a\"[4]",
          "'",
          "\"",
          "'ns=1;s=it's'[4]",
          "'ns=1;s=a'[1][2]"}) {
        SCOPED_TRACE(text);
        try {
            static_cast<void>(parse_array_node_id(text));
            ADD_FAILURE() << "accepted";
        } catch (const exceptions::invalid_array_syntax& error) {
            EXPECT_NE(std::string{error.what()}.find("(" + text + ")"), std::string::npos);
        }
    }
}

TEST(array_node_id, of_a_mebibyte_needs_no_stack) {
    const std::string text = "'" + std::string(1024 * 1024, 'x') + "'[1]";
    EXPECT_THROW(static_cast<void>(parse_array_node_id(text)), exceptions::failed_to_parse_node_id);
}

TEST(array_node_id, names_the_inner_text_when_the_node_id_is_bad) {
    try {
        static_cast<void>(parse_array_node_id("'garbage'[1]"));
        FAIL();
    } catch (const exceptions::failed_to_parse_node_id& error) {
        EXPECT_STREQ(
            error.what(), "Failed to parse NodeID (garbage) because of (BadDecodingError)."
        );
    }
}

TEST(array_node_id, leaves_an_index_beyond_64_bits_to_the_standard_error) {
    EXPECT_THROW(
        static_cast<void>(parse_array_node_id("'ns=1;i=5'[99999999999999999999]")),
        std::out_of_range
    );
}

TEST(node_id, rejects_what_the_stack_rejects) {
    for (const std::string text : {"", " ns=1;i=5", " 'ns=1;i=5'[1]", "ns=1", "i=x", "\xff"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(is_array_node_id(text));
        EXPECT_THROW(static_cast<void>(parse_node_id(text)), exceptions::failed_to_parse_node_id);
    }
}

TEST(node_id, ends_at_a_zero_byte) {
    EXPECT_EQ(node_id_text(*parse_node_id(std::string{"i=5\0junk", 8})), "i=5");
}

TEST(identifier_text, is_the_identifier_without_its_namespace) {
    EXPECT_EQ(identifier_text(*parse_node_id("ns=3;i=2256")), "i=2256");
    EXPECT_EQ(identifier_text(*parse_node_id("ns=2;s=x;y=z")), "s=x;y=z");
    for (const char* text : {"ns=1;g=09087e75-8e5e-499b-954f-f2a9603db28a", "ns=1;b=aGVsbG8="}) {
        EXPECT_THROW(
            static_cast<void>(identifier_text(*parse_node_id(text))),
            exceptions::unsupported_identifier_type
        );
    }
}

} // namespace
