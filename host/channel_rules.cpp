#include "host/channel_rules.hpp"

#include "host/probe_error.hpp"
#include "text/nearest_names.hpp"
#include "text/number.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <iterator>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] bool has_wildcard(std::string_view text) {
    return text.find('*') != std::string_view::npos;
}

/// @param pattern with at least one "*"
[[nodiscard]] bool matches_pattern(std::string_view pattern, std::string_view text) {
    const std::vector<std::string> parts = split_at('*', pattern);
    if (!text.starts_with(parts.front())) {
        return false;
    }
    text.remove_prefix(parts.front().size());
    for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
        const std::size_t found = text.find(parts[i]);
        if (found == std::string_view::npos) {
            return false;
        }
        text.remove_prefix(found + parts[i].size());
    }
    return text.ends_with(parts.back());
}

/// The channels that a rule can mean, by their places.
[[nodiscard]] std::vector<std::size_t>
meant(const std::string& channel, const std::vector<rule_target>& channels) {
    std::vector<std::size_t> named;
    std::vector<std::size_t> numbered;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (channel.empty() || channels[i].name == channel) {
            named.push_back(i);
        }
        if (std::to_string(channels[i].id) == channel) {
            numbered.push_back(i);
        }
    }
    return named.empty() ? numbered : named;
}

/// @return a text that a lookup lacks, as a problem; empty when it may come
[[nodiscard]] std::string
missing_text(const std::string& text, const rule_target& channel, const module_document& document) {
    if (!channel.lookup || text == all_other_texts || text == "NaN" || parse_number<double>(text)) {
        return "";
    }
    const std::vector<std::string> known = document.texts_of_lookup(*channel.lookup);
    const auto is_meant = [&text](const std::string& each) {
        return find_state({{text, channel_state::ok}}, each).has_value();
    };
    if (std::ranges::any_of(known, is_meant)) {
        return "";
    }
    return "the channel " + channel.name +
           (known.empty() ? " has numbers, and no text \"" : " has no text \"") + text + "\"" +
           did_you_mean(nearest_names(text, known));
}

/// Adds what one rule says to what is demanded of its channel.
class rule_taker final {
  public:
    rule_taker(channel_demands& to, const channel_rule& rule, const rule_target& channel)
        : to_{to},
          rule_{rule},
          channel_{channel} {}

    /// @return what is wrong with it; empty: nothing
    [[nodiscard]] std::string operator()(const range_rule& given) const {
        auto& level = given.level == rule_level::warning ? to_.warning : to_.critical;
        if (level) {
            return "the channel " + channel_.name + " has two ranges";
        }
        level = given.range;
        return "";
    }
    [[nodiscard]] std::string operator()(const stated_text& given) const {
        const bool twice = std::ranges::any_of(to_.states, [&given](const stated_text& each) {
            return same_in_any_case(each.text, given.text);
        });
        if (twice) {
            return "the channel " + channel_.name + " has two states for \"" + given.text + "\"";
        }
        to_.states.push_back(given);
        to_.states_origin = rule_.origin;
        return "";
    }
    [[nodiscard]] std::string operator()(const no_lookup_rule& /*given*/) const {
        to_.lookup = false;
        return "";
    }

  private:
    channel_demands& to_;
    const channel_rule& rule_;
    const rule_target& channel_;
};

[[nodiscard]] std::string what_is_given(const channel_rule& rule) {
    const auto* range = std::get_if<range_rule>(&rule.decision);
    const auto* state = std::get_if<stated_text>(&rule.decision);
    return range != nullptr ? to_text(range->range) : state != nullptr ? state->text : "none";
}

[[nodiscard]] bool names_all_texts(const channel_demands& demands) {
    return std::ranges::count(demands.states, all_other_texts, &stated_text::text) > 0;
}

/// Gives a rule to the channel that it means.
/// @return what is wrong, to stand behind the rule's origin; empty: nothing
[[nodiscard]] std::string assign(
    const channel_rule& rule,
    const std::vector<rule_target>& channels,
    const module_document& document,
    std::vector<channel_demands>& demands
) {
    const std::vector<std::size_t> found = meant(rule.channel, channels);
    if (found.empty()) {
        std::vector<std::string> names;
        std::ranges::transform(channels, std::back_inserter(names), &rule_target::name);
        return (rule.channel.empty() ? "" : " " + rule.channel) +
               ": the sensor has no such channel" +
               did_you_mean(nearest_names(rule.channel, names));
    }
    if (found.size() > 1) {
        return " " + what_is_given(rule) + ": it may mean " + std::to_string(found.size()) +
               " channels; say which one, by name or number";
    }
    const rule_target& channel = channels[found.front()];
    std::string problem =
        std::visit(rule_taker{demands[found.front()], rule, channel}, rule.decision);
    if (const auto* state = std::get_if<stated_text>(&rule.decision);
        state != nullptr && problem.empty()) {
        problem = missing_text(state->text, channel, document);
    }
    return problem.empty() ? "" : ": " + problem;
}

} // namespace

std::optional<channel_state>
find_state(const std::vector<stated_text>& states, std::string_view text) {
    const auto state_of = [&states](const auto& is_meant) -> std::optional<channel_state> {
        const auto found = std::ranges::find_if(states, is_meant);
        return found == states.end() ? std::nullopt : std::optional{found->state};
    };
    if (const auto named = state_of([text](const stated_text& each) {
            return same_in_any_case(each.text, text);
        })) {
        return named;
    }
    const std::string lower = lower_case(text);
    if (const auto like = state_of([&lower](const stated_text& each) {
            return each.text != all_other_texts && has_wildcard(each.text) &&
                   matches_pattern(lower_case(each.text), lower);
        })) {
        return like;
    }
    return state_of([](const stated_text& each) { return each.text == all_other_texts; });
}

channel_state parse_state_word(const std::string& word) {
    if (word == "ok") {
        return channel_state::ok;
    }
    if (word == "warning") {
        return channel_state::warning;
    }
    if (word == "critical") {
        return channel_state::error;
    }
    const std::string nearest =
        same_in_any_case(word, "error")
            ? "; did you mean critical?"
            : did_you_mean(nearest_names(word, {"ok", "warning", "critical"}));
    throw usage_error{"\"" + word + "\" is none of the states ok, warning and critical" + nearest};
}

assigned_rules assign_rules(
    const std::vector<rule_target>& channels,
    const channel_rules& rules,
    const module_document& document
) {
    assigned_rules result{std::vector<channel_demands>(channels.size()), {}};
    for (channel_demands& each : result.demands) {
        each.lookup = rules.lookups;
    }
    for (const channel_rule& rule : rules.channels) {
        const std::string problem = assign(rule, channels, document, result.demands);
        if (!problem.empty()) {
            result.problems.push_back(rule.origin + problem);
        }
    }
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const channel_demands& demands = result.demands[i];
        if ((demands.warning || demands.critical) && names_all_texts(demands)) {
            result.problems.push_back(
                demands.states_origin + ": the channel " + channels[i].name +
                " has a range that never counts, because \"*\" gives all values a state"
            );
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
