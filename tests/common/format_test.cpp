#include "common/libstringutils/format.hpp"

#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using libstringutils::format_arguments;

namespace {

struct row {
    std::string name;
    std::string format_string;
    std::vector<std::string_view> arguments;
    std::string expected; ///< the text, or the error's text
};

void PrintTo(const row& r, std::ostream* out) {
    *out << r.format_string;
}

class format : public testing::TestWithParam<row> {};
class format_rejects : public testing::TestWithParam<row> {};

const auto name_of = [](const auto& info) { return info.param.name; };

TEST_P(format, fills) {
    EXPECT_EQ(
        format_arguments(GetParam().format_string, GetParam().arguments), GetParam().expected
    );
}

INSTANTIATE_TEST_SUITE_P(
    rows,
    format,
    testing::Values(
        row{"one", "Connected to %0:s.", {"srv"}, "Connected to srv."},
        row{"any_order_and_often", "%1:s-%0:s-%1:s", {"a", "b"}, "b-a-b"},
        row{"leading_zeros", "%01:s", {"a", "b"}, "b"},
        row{"literal_percent", "100%%", {}, "100%"},
        row{"percent_before_placeholder", "%%%0:s", {"x"}, "%x"},
        row{"escaped_placeholder", "%%0:s", {"x"}, "%0:s"},
        row{"empty", "", {}, ""},
        row{"unnamed_argument_ignored", "x", {"a"}, "x"},
        row{"inserted_text_not_scanned", "[%0:s]", {"%0:s %"}, "[%0:s %]"},
        row{"multi_byte", "°%0:s€", {"ü"}, "°ü€"}
    ),
    name_of
);

TEST_P(format_rejects, with_its_text) {
    try {
        static_cast<void>(format_arguments(GetParam().format_string, GetParam().arguments));
        FAIL() << "nothing thrown";
    } catch (const std::exception& error) {
        EXPECT_EQ(error.what(), GetParam().expected);
    }
}

constexpr auto malformed = "Malformed placeholder in format string.";

INSTANTIATE_TEST_SUITE_P(
    rows,
    format_rejects,
    testing::Values(
        row{"lone_percent_at_end", "100%", {}, malformed},
        row{"c_conversion", "%d", {"a"}, malformed},
        row{"no_index", "%s", {"a"}, malformed},
        row{"no_conversion", "%1", {"a", "b"}, malformed},
        row{"other_conversion", "%0:d", {"a"}, malformed},
        row{"blank", "% ", {"a"}, malformed},
        row{"sign", "%-1:s", {"a"}, malformed},
        row{"index_too_high", "%2:s", {"a", "b"}, "Index 2 is too high for argument list."},
        row{"digits_as_written", "%02:s", {"a", "b"}, "Index 02 is too high for argument list."},
        row{"no_arguments", "%0:s", {}, "Index 0 is too high for argument list."},
        row{"beyond_64_bits", "%" + std::string(20, '9') + ":s", {"a"}, "stol"}
    ),
    name_of
);

TEST(format_errors, belong_to_the_family_of_plain_exceptions) {
    EXPECT_THROW(
        static_cast<void>(libstringutils::format("%0:s")),
        libstringutils::exceptions::placeholder_index_not_in_arguments
    );
    EXPECT_THROW(static_cast<void>(libstringutils::format("%")), libexception::exception);
    EXPECT_THROW(
        static_cast<void>(libstringutils::format("%" + std::string(20, '9') + ":s")),
        std::out_of_range
    );
}

} // namespace
