#include "common/libstringutils/format.hpp"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using libstringutils::format;

namespace {

TEST(format, fills_placeholders_or_tells_why_not) {
    const std::string malformed = "Malformed placeholder in format string.";
    const std::string too_large = "%" + std::string(20, '9') + ":s"; // for 64 bits
    const struct {
        std::string template_text;
        std::vector<std::string_view> arguments;
        std::string expected; // the text, or the error's text
    } rows[] = {
        {"%1:s-%0:s-%1:s", {"a", "b"}, "b-a-b"},
        {"%01:s", {"a", "b"}, "b"},
        {"100%%", {}, "100%"},
        {"%%%0:s", {"x"}, "%x"},
        {"%%0:s", {"x"}, "%0:s"},
        {"", {}, ""},
        {"x", {"unused"}, "x"},
        {"[%0:s]", {"%0:s %"}, "[%0:s %]"},
        {"°%0:s€", {"ü"}, "°ü€"},
        {"100%", {}, malformed},
        {"%d", {"a"}, malformed},
        {"%1", {"a", "b"}, malformed},
        {"%0:d", {"a"}, malformed},
        {"%-1:s", {"a"}, malformed},
        {"%02:s", {"a", "b"}, "Index 02 is too high for argument list."},
        {"%0:s", {}, "Index 0 is too high for argument list."},
        {too_large, {"a"}, "stol"},
    };
    for (const auto& row : rows) {
        std::string result;
        try {
            result = libstringutils::format_arguments(row.template_text, row.arguments);
        } catch (const std::exception& error) {
            result = error.what();
        }
        EXPECT_EQ(result, row.expected) << row.template_text;
    }
    using libstringutils::exceptions::placeholder_index_not_in_arguments;
    EXPECT_THROW((void)format("%0:s"), placeholder_index_not_in_arguments);
    EXPECT_THROW((void)format("%"), libexception::exception);
    EXPECT_THROW((void)format(too_large), std::out_of_range);
}

} // namespace
