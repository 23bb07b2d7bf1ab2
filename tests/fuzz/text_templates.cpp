// Templates of messages with their arguments, in the module and in its hosts, and the numbers at
// the beginning of texts. Lines: the template, then its arguments.

#include "common/libstringutils/format.hpp"
#include "common/libstringutils/number.hpp"
#include "host/translation.hpp"
#include "tests/fuzz/doors.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::fuzz {

void text_templates(std::string_view input) {
    input_parts lines{input};
    const std::string_view text = lines.until('\n');
    std::vector<std::string_view> arguments;
    while (!lines.empty()) {
        arguments.push_back(lines.until('\n'));
    }
    std::string filled;
    const bool good = tolerate([&] { filled = libstringutils::format_arguments(text, arguments); });
    require(
        !good || libstringutils::argument_count(text) <= arguments.size(),
        "what is filled has all its arguments"
    );
    const auto by_host =
        probe::fill_template(text, std::vector<std::string>{arguments.begin(), arguments.end()});
    require(by_host.has_value() == good, "module and hosts take the same templates");
    require(!good || *by_host == filled, "module and hosts fill templates alike");

    static_cast<void>(probe::parse_identity(input));
    const std::string number{text};
    tolerate([&] { static_cast<void>(libstringutils::leading_double(number)); });
    tolerate([&] { static_cast<void>(libstringutils::leading_integer(number)); });
}

} // namespace tarvik::monitoring_modules::fuzz
