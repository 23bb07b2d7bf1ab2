#include "common/catalogue/catalogue.hpp"
#include "common/catalogue/certificate_exceptions.hpp"
#include "common/catalogue/framework_exceptions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;

namespace {

TEST(catalogue, has_every_key_once) {
    std::set<std::string_view> keys;
    for (const auto& message : catalogue::all_messages()) {
        EXPECT_TRUE(keys.insert(message.key).second) << message.key;
    }
    EXPECT_EQ(keys.size(), 134U);
}

TEST(catalogue, has_only_templates_that_can_be_filled) {
    for (const auto& message : catalogue::all_messages()) {
        const std::vector<std::string_view> arguments(
            libstringutils::argument_count(message.text), "x"
        );
        EXPECT_NO_THROW(static_cast<void>(
            libi18n::i18n_msg(message, std::span<const std::string_view>{arguments})
        )) << message.key;
    }
}

TEST(catalogue, names_lookup_values_by_lookup_and_number) {
    for (const auto& entry : catalogue::all_lookup_values()) {
        EXPECT_EQ(
            entry.text.key,
            "lookup." + std::string{entry.lookup} + "." + std::to_string(entry.value)
        );
    }
}

// The places in the tree that users of the classes rely on when they catch a base.
namespace opcua_errors = opcua::exceptions;
namespace framework_errors = libzunohelper::utils::exceptions;
namespace certificate_errors = libcertificatehelper::exceptions;

static_assert(std::is_base_of_v<opcua_errors::opcua_failure, opcua_errors::value_overflow>);
static_assert(std::is_base_of_v<
              framework_errors::service_container_error,
              framework_errors::instance_not_available_key>);
static_assert(std::is_base_of_v<
              framework_errors::initialization_error,
              framework_errors::channel_map_not_initialized>);
static_assert(std::is_base_of_v<libi18n::i18n_exception, framework_errors::invalid_lookup_value> && !std::is_base_of_v<framework_errors::exception, framework_errors::invalid_lookup_value>);
static_assert(std::is_base_of_v<
              certificate_errors::certificate_validator_exception,
              certificate_errors::store_ctx_init_failed>);
static_assert(!std::is_base_of_v<
              certificate_errors::exception,
              certificate_errors::certificate_validator_exception>);
static_assert(std::is_base_of_v<libi18n::error_generic, certificate_errors::certificate_empty>);

// An error is built from exactly the arguments that its text names.
static_assert(std::is_constructible_v<opcua_errors::index_out_of_bounds, std::string, std::string>);
static_assert(!std::is_constructible_v<opcua_errors::index_out_of_bounds, std::string>);
static_assert(!std::is_constructible_v<opcua_errors::value_not_set, std::string>);

TEST(catalogue, gives_classes_their_keys) {
    const auto identity = [](const libi18n::i18n_exception& error) {
        return error.message().identity();
    };
    EXPECT_EQ(
        identity(framework_errors::service_container_error{"x"}),
        "#:libzunohelper.error.service_container[x]"
    );
    EXPECT_EQ(identity(libi18n::error_generic{"x"}), "#:libi18n.error.generic[x]");
    EXPECT_EQ(identity(opcua_errors::value_not_set{}), "#:error.value_not_set[]");
    EXPECT_EQ(
        identity(certificate_errors::wrong_hash_length{"20", "32"}),
        "#:certificate_helper.error.wrong_hash_length[20,32]"
    );
}

} // namespace
