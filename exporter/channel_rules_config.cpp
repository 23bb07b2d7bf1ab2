#include "exporter/channel_rules_config.hpp"

#include "host/probe_error.hpp"
#include "text/nearest_names.hpp"
#include "text/number.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <iterator>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* custom_sensor = "custom_sensor";
constexpr const char* nothing = "none"; // in place of states: the lookup decides nothing

/// What is known of a sensor's channels before it was ever scanned.
struct known_channels {
    std::vector<rule_target> channels; ///< with empty names where only the server has them
    std::vector<std::string> names;    ///< that can come
    bool complete = false;             ///< whether there are no other names
    bool numbered = false;             ///< whether there are no other numbers
};

[[nodiscard]] known_channels
known_of(const std::string& kind, const settings& values, const module_document& document) {
    if (kind.empty()) { // which of them there are is not known
        return {};
    }
    if (kind != custom_sensor) {
        return {{}, document.channel_names(), !document.channel_names().empty(), false};
    }
    known_channels known{{}, {}, true, true};
    for (const auto& [number, name] : custom_channels(values)) {
        known.channels.push_back({number, name, std::nullopt});
        known.names.push_back(name);
        known.complete = known.complete && !name.empty();
    }
    return known;
}

[[nodiscard]] bool is_known(const known_channels& known, const std::string& channel) {
    const auto number = parse_number<std::int64_t>(channel);
    return contains(known.names, channel) ||
           (number && std::ranges::count(known.channels, *number, &rule_target::id) > 0);
}

[[nodiscard]] bool can_be_named(const known_channels& known, const std::string& channel) {
    const bool is_number = parse_number<std::int64_t>(channel).has_value();
    return is_known(known, channel) || !known.complete || (is_number && !known.numbered);
}

class rules_reader final {
  public:
    rules_reader(const yaml_value& node, known_channels known, const module_document& document)
        : node_{node},
          known_{std::move(known)},
          document_{document} {}

    [[nodiscard]] channel_rules read() {
        for (const auto& [member, level] :
             {std::pair{"warning", rule_level::warning},
              std::pair{"critical", rule_level::critical}}) {
            for (const auto& [channel, range] : of_channels(member)) {
                range.attempt([&, &of = channel, &given = range, name = member, level = level] {
                    const range_rule rule{level, parse_range(given.text())};
                    rules_.channels.push_back({name, of, rule});
                });
            }
            require_followable(member);
        }
        const auto states = node_.find("states");
        if (states && !states->is_mapping()) {
            states->attempt([&] { require_none(*states); });
            rules_.lookups = false;
        } else if (states) {
            for (const auto& [channel, given] : of_channels("states")) {
                given.attempt([&, &of = channel, &each = given] { add_states(of, each); });
            }
            require_followable("states");
        }
        return std::move(rules_);
    }

    void read_message_states() {
        if (const auto states = node_.find("message_states")) {
            states->attempt([&] { rules_.message = stated(*states); });
        }
    }

  private:
    /// @return what a member says of each channel; of the only one, where it names none
    [[nodiscard]] std::vector<std::pair<std::string, yaml_value>>
    of_channels(const std::string& member) const {
        const auto given = node_.find(member);
        if (!given) {
            return {};
        }
        if (!given->is_mapping()) {
            return {{"", *given}};
        }
        auto channels = given->members();
        std::erase_if(channels, [this](const auto& each) {
            const auto& [channel, value] = each;
            const bool known = can_be_named(known_, channel);
            if (!known) {
                const std::string meant = did_you_mean(nearest_names(channel, known_.names));
                value.mistake("the sensor has no such channel" + meant);
            }
            return !known;
        });
        return channels;
    }

    static void require_none(const yaml_value& value) {
        if (value.text() != nothing) {
            value.fail("expected states by texts, such as {\"False\": ok}, or none");
        }
    }

    [[nodiscard]] static std::vector<stated_text> stated(const yaml_value& node) {
        std::vector<stated_text> states;
        for (const auto& [text, word] : node.members()) {
            if (text.empty()) {
                word.mistake("the text is empty");
                continue;
            }
            word.attempt([&, &meant = text, &given = word] {
                states.push_back({meant, parse_state_word(given.text())});
            });
        }
        return states;
    }

    void add_states(const std::string& channel, const yaml_value& given) {
        if (!given.is_mapping()) {
            require_none(given);
            rules_.channels.push_back({"states", channel, no_lookup_rule{}});
            return;
        }
        for (stated_text& each : stated(given)) {
            require_known_text(each.text, given);
            rules_.channels.push_back({"states", channel, std::move(each)});
        }
    }

    /// Texts of channels come from lookups alone.
    void require_known_text(const std::string& text, const yaml_value& states) const {
        std::vector<std::string> known;
        for (const lookup_description& lookup : document_.lookups()) {
            std::ranges::move(document_.texts_of_lookup(lookup.name), std::back_inserter(known));
        }
        std::ranges::sort(known);
        known.erase(std::unique(known.begin(), known.end()), known.end());
        const std::vector<stated_text> meant{{text, channel_state::ok}};
        const bool comes = std::ranges::any_of(known, [&meant](const std::string& each) {
            return find_state(meant, each).has_value();
        });
        if (!comes && !known.empty() && text != all_other_texts && text != "NaN" &&
            !parse_number<double>(text)) {
            const std::string nearest = did_you_mean(nearest_names(text, known));
            states.required(text).mistake("no lookup of the module has this text" + nearest);
        }
    }

    /// @param member after which the rules about channels that are known shall still fit together
    void require_followable(const std::string& member) {
        if (!known_.numbered) {
            return;
        }
        channel_rules known = rules_;
        std::erase_if(known.channels, [this](const channel_rule& rule) {
            return !rule.channel.empty() && !is_known(known_, rule.channel);
        });
        const assigned_rules assigned = assign_rules(known_.channels, known, document_);
        if (assigned.problems.size() > told_) {
            node_.required(member).mistake(assigned.problems.at(told_));
        }
        told_ = assigned.problems.size();
    }

    const yaml_value& node_;
    const known_channels known_;
    const module_document& document_;
    channel_rules rules_;
    std::size_t told_ = 0; // problems of the rules up to here
};

} // namespace

channel_rules read_channel_rules(
    const yaml_value& node,
    const std::string& kind,
    const settings& values,
    const module_document& document
) {
    rules_reader reader{node, known_of(kind, values, document), document};
    if (const auto states = node.find("message_states")) {
        if (kind == custom_sensor && !has_message_node(values)) {
            states->mistake("there is no message_node, so the message is always OK");
        }
        reader.read_message_states();
    }
    return reader.read();
}

} // namespace tarvik::monitoring_modules::probe
