#include "common/catalogue/catalogue.hpp"
#include "common/catalogue/certificate_exceptions.hpp"
#include "common/catalogue/framework_exceptions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"

#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
namespace framework = libzunohelper::utils::exceptions;
namespace certificate = libcertificatehelper::exceptions;

namespace {

TEST(i18n_msg, escapes_arguments_in_the_identity_only) {
    constexpr libi18n::message_definition none{"test.none", "none"};
    constexpr libi18n::message_definition two{"test.two", "%0:s/%1:s"};
    EXPECT_EQ(libi18n::i18n_msg{none}.identity(), "#:test.none[]");
    const libi18n::i18n_msg message{two, R"(#,:[\]x)", std::string{"b"}};
    EXPECT_EQ(message.identity(), R"(#:test.two[\#\,\:\[\\\]x,b])");
    EXPECT_EQ(message.text(), R"(#,:[\]x/b)");
}

TEST(catalogue, has_every_key_once_and_only_templates_that_can_be_filled) {
    std::set<std::string_view> keys;
    for (const auto& message : catalogue::all_messages()) {
        EXPECT_TRUE(keys.insert(message.key).second) << message.key;
        const std::vector<std::string_view> arguments(
            libstringutils::argument_count(message.text), "x"
        );
        EXPECT_NO_THROW((void)libstringutils::format_arguments(message.text, arguments))
            << message.key;
    }
    EXPECT_EQ(keys.size(), 134U);
    for (const auto& entry : catalogue::all_lookup_values()) {
        const std::string stem = "lookup." + std::string{entry.lookup} + ".";
        EXPECT_EQ(entry.text.key, stem + std::to_string(entry.value));
    }
}

template <typename Error, typename Base>
constexpr bool is = std::is_base_of_v<Base, Error>;

// The places in the tree that users of the classes rely on when they catch a base.
static_assert(is<opcua::exceptions::value_overflow, opcua::exceptions::opcua_failure>);
static_assert(is<framework::instance_not_available_key, framework::service_container_error>);
static_assert(is<framework::channel_map_not_initialized, framework::initialization_error>);
static_assert(is<framework::invalid_lookup_value, libi18n::i18n_exception>);
static_assert(!is<framework::invalid_lookup_value, framework::exception>);
static_assert(is<certificate::store_ctx_init_failed, certificate::certificate_validator_exception>);
static_assert(!is<certificate::certificate_validator_exception, certificate::exception>);
static_assert(is<certificate::certificate_empty, libi18n::error_generic>);

// An error is built from no fewer or more arguments than its text names.
static_assert(!std::is_constructible_v<opcua::exceptions::index_out_of_bounds, std::string>);
static_assert(!std::is_constructible_v<opcua::exceptions::value_not_set, std::string>);

TEST(catalogue, gives_classes_their_keys_and_texts) {
    const framework::service_container_error error{"x"};
    EXPECT_EQ(error.message().identity(), "#:libzunohelper.error.service_container[x]");
    EXPECT_EQ(error.what(), error.message().text());
    EXPECT_EQ(libi18n::error_generic{"x"}.message().identity(), "#:libi18n.error.generic[x]");
}

} // namespace
