#include "common/catalogue/opcua_exceptions.hpp"
#include "common/libi18n/i18n_msg.hpp"

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using libi18n::i18n_msg;

namespace {

constexpr libi18n::message_definition two{"test.two", "%0:s/%1:s"};
constexpr libi18n::message_definition one{"test.one", "<%0:s>"};
constexpr libi18n::message_definition none{"test.none", "none"};

TEST(i18n_msg, keeps_arguments_in_identity_and_text) {
    const i18n_msg message{two, "a", std::string{"b"}};
    EXPECT_EQ(message.identity(), "#:test.two[a,b]");
    EXPECT_EQ(message.text(), "a/b");
}

TEST(i18n_msg, has_empty_brackets_without_arguments) {
    EXPECT_EQ(i18n_msg{none}.identity(), "#:test.none[]");
}

TEST(i18n_msg, escapes_arguments_in_the_identity_only) {
    const i18n_msg message{one, R"(#,:[\]x)"};
    EXPECT_EQ(message.identity(), R"(#:test.one[\#\,\:\[\\\]x])");
    EXPECT_EQ(message.text(), R"(<#,:[\]x>)");
}

TEST(i18n_msg, cannot_be_built_with_too_few_arguments) {
    EXPECT_THROW(
        (i18n_msg{two, "a"}), libstringutils::exceptions::placeholder_index_not_in_arguments
    );
}

TEST(i18n_msg, is_its_own_identity_when_plain) {
    const i18n_msg message = libi18n::ok_message();
    EXPECT_EQ(message.identity(), "OK");
    EXPECT_EQ(message.text(), "OK");
}

TEST(i18n_exception, carries_message_and_english_text_through_its_bases) {
    try {
        throw opcua::exceptions::opcua_read_failed{"BadTimeout"};
    } catch (const opcua::exceptions::opcua_failure& error) {
        EXPECT_STREQ(
            error.what(), "The sensor could not read data from the OPC UA server (BadTimeout)."
        );
        EXPECT_EQ(error.message().identity(), "#:error.opcua_read_failed[BadTimeout]");
    }
}

} // namespace
