// Ranges, channels and addresses, as command lines have them.

#include "exporter/address.hpp"
#include "host/settings_record.hpp"
#include "host/value_range.hpp"
#include "probe/plugin/rule_arguments.hpp"
#include "tests/fuzz/doors.hpp"

#include <string>

namespace tarvik::monitoring_modules::fuzz {

namespace {

void read_range(std::string_view text) {
    tolerate([&] {
        const probe::value_range range = probe::parse_range(text);
        require(!(range.start > range.end), "a range begins before it ends");
        const probe::value_range again = probe::parse_range(probe::to_text(range));
        require(again.inverted == range.inverted, "a range is read as it was written");
        static_cast<void>(range.side(0));
        static_cast<void>(range.side(range.start));
    });
    tolerate([&] {
        probe::channel_rules rules;
        probe::add_ranges(rules, probe::rule_level::warning, {std::string{text}, "1=2"});
    });
    tolerate([&] {
        probe::channel_rules rules;
        probe::add_states(rules, {std::string{text}});
        static_cast<void>(probe::find_state({{std::string{text}, probe::channel_state::ok}}, text));
        probe::add_message_states(rules, {std::string{text}});
    });
}

} // namespace

void plugin_ranges(std::string_view input) {
    input_parts lines{input};
    const std::string_view first = lines.until('\n');
    const std::string_view second = lines.until('\n');
    read_range(first);
    if (auto address = probe::parse_address(first)) {
        address->path.clear(); // which its text does not have
        require(probe::parse_address(address->text()) == *address, "an address is read as written");
        const bool fits = probe::matches(second, *address);
        require(!fits || probe::is_target_pattern(second), "only a pattern matches");
    }
    static_cast<void>(probe::is_target_pattern(first));
    static_cast<void>(probe::is_loopback_address(first));
    tolerate([&] {
        static_cast<void>(probe::parse_channels(
            {std::string{first}, std::string{second}},
            {std::string{lines.until('\n')}},
            {std::string{lines.rest()}}
        ));
    });
}

} // namespace tarvik::monitoring_modules::fuzz
