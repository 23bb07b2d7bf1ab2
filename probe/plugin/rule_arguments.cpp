#include "probe/plugin/rule_arguments.hpp"

#include "host/probe_error.hpp"
#include "text/words.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Reads each argument with a function, whose errors come to name option and argument.
template <typename Read>
void read_each(const char* option, const std::vector<std::string>& arguments, const Read& read) {
    for (const std::string& argument : arguments) {
        try {
            read(argument);
        } catch (const probe_error& error) {
            throw usage_error{
                std::string{option}.append(" ").append(argument).append(": ") + error.what()};
        }
    }
}

struct channel_and_rest {
    std::string channel; ///< empty: none was named
    std::string rest;
};

/// Takes off the channel, which ends at the last "=".
[[nodiscard]] channel_and_rest split_channel(const std::string& argument) {
    const std::size_t equals = argument.rfind('=');
    if (equals == 0) {
        throw usage_error{"the channel's name is empty"};
    }
    return equals == std::string::npos
               ? channel_and_rest{"", argument}
               : channel_and_rest{argument.substr(0, equals), argument.substr(equals + 1)};
}

/// @param argument TEXT:STATE
[[nodiscard]] stated_text parse_stated(const std::string& argument) {
    const std::size_t colon = argument.rfind(':');
    if (colon == std::string::npos) {
        throw usage_error{"expected TEXT:STATE, such as False:critical"};
    }
    if (colon == 0) {
        throw usage_error{"the text is empty"};
    }
    return {argument.substr(0, colon), parse_state_word(argument.substr(colon + 1))};
}

} // namespace

void add_ranges(channel_rules& to, rule_level level, const std::vector<std::string>& arguments) {
    const char* const option = level == rule_level::warning ? "--warning" : "--critical";
    read_each(option, arguments, [&to, option, level](const std::string& argument) {
        const auto [channel, range] = split_channel(argument);
        to.channels.push_back({option, channel, range_rule{level, parse_range(range)}});
    });
}

void add_states(channel_rules& to, const std::vector<std::string>& arguments) {
    constexpr const char* option = "--state";
    read_each(option, arguments, [&to](const std::string& argument) {
        const auto [channel, text] = split_channel(argument);
        if (text != "none") {
            to.channels.push_back({option, channel, parse_stated(text)});
        } else if (channel.empty()) {
            to.lookups = false;
        } else {
            to.channels.push_back({option, channel, no_lookup_rule{}});
        }
    });
}

void add_message_states(channel_rules& to, const std::vector<std::string>& arguments) {
    read_each("--message-state", arguments, [&to](const std::string& argument) {
        const stated_text given = parse_stated(argument);
        const bool twice = std::ranges::any_of(to.message, [&given](const stated_text& each) {
            return same_in_any_case(each.text, given.text);
        });
        if (twice) {
            throw usage_error{"the text has two states"};
        }
        to.message.push_back(given);
    });
}

channel_rules rules_of(const plugin_options& options) {
    channel_rules rules;
    add_ranges(rules, rule_level::warning, options.warning);
    add_ranges(rules, rule_level::critical, options.critical);
    add_states(rules, options.state);
    add_message_states(rules, options.message_state);
    return rules;
}

} // namespace tarvik::monitoring_modules::probe
