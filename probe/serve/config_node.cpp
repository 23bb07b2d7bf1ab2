#include "probe/serve/config_node.hpp"

#include "host/probe_error.hpp"
#include "text/nearest_names.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string line_of(const YAML::Mark& mark) {
    return mark.is_null() ? "" : std::to_string(mark.line + 1) + ": ";
}

template <typename Number>
[[nodiscard]] std::optional<Number> whole_number(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{number} : std::nullopt;
}

[[nodiscard]] std::optional<double> seconds_of(std::string_view text) {
    constexpr std::array<std::pair<std::string_view, double>, 4> units{
        {{"ms", 0.001}, {"s", 1}, {"m", 60}, {"h", 3600}}};
    for (const auto& [name, factor] : units) {
        if (text.ends_with(name)) {
            const auto number = whole_number<double>(text.substr(0, text.size() - name.size()));
            return number ? std::optional{*number * factor} : std::nullopt;
        }
    }
    return whole_number<double>(text);
}

} // namespace

config_node::config_node(const YAML::Node& node, std::string place, std::string file)
    : node_{node},
      place_{std::move(place)},
      file_{std::move(file)} {}

config_node config_node::parse(const std::string& text, const std::string& file) {
    try {
        return {YAML::Load(text), "", file};
    } catch (const YAML::Exception& error) {
        throw probe_error{exit_code::usage, file + ":" + line_of(error.mark) + error.msg};
    }
}

config_node config_node::at(const YAML::Node& node, const std::string& name) const {
    return {node, place_.empty() ? name : place_ + "." + name, file_};
}

std::optional<config_node> config_node::find(const std::string& name) const {
    if (!node_.IsMap()) {
        fail("expected a mapping");
    }
    const YAML::Node found = node_[name];
    if (!found || found.IsNull()) {
        return std::nullopt;
    }
    return at(found, name);
}

config_node config_node::required(const std::string& name) const {
    auto found = find(name);
    if (!found) {
        fail("\"" + name + "\" is required");
    }
    return *std::move(found);
}

std::vector<std::pair<std::string, config_node>> config_node::members() const {
    if (!node_.IsMap()) {
        fail("expected a mapping");
    }
    std::vector<std::pair<std::string, config_node>> result;
    for (const auto& member : node_) {
        if (!member.first.IsScalar()) {
            fail("the names of members must be texts");
        }
        const std::string name = member.first.Scalar();
        if (std::ranges::any_of(result, [&name](const auto& each) { return each.first == name; })) {
            fail("\"" + name + "\" stands here twice");
        }
        result.emplace_back(name, at(member.second, name));
    }
    return result;
}

std::vector<config_node> config_node::items() const {
    if (!node_.IsSequence()) {
        fail("expected a list");
    }
    std::vector<config_node> result;
    for (std::size_t i = 0; i < node_.size(); ++i) {
        result.push_back({node_[i], place_ + "[" + std::to_string(i) + "]", file_});
    }
    return result;
}

void config_node::allow_only(std::initializer_list<const char*> names) const {
    const std::vector<std::string> known{names.begin(), names.end()};
    for (const auto& [name, value] : members()) {
        if (std::ranges::find(known, name) == known.end()) {
            value.fail("there is no such setting here" + did_you_mean(nearest_names(name, known)));
        }
    }
}

std::string config_node::text() const {
    if (!node_.IsScalar()) {
        fail("expected a text");
    }
    return node_.Scalar();
}

std::int64_t config_node::integer(std::int64_t lowest, std::int64_t highest) const {
    const auto number = whole_number<std::int64_t>(text());
    if (!number || *number < lowest || *number > highest) {
        fail(
            "expected a whole number from " + std::to_string(lowest) + " to " +
            std::to_string(highest)
        );
    }
    return *number;
}

std::chrono::milliseconds
config_node::duration(std::chrono::milliseconds shortest, std::chrono::milliseconds longest) const {
    const std::optional<double> seconds = seconds_of(text());
    if (!seconds || !(*seconds * 1000 >= static_cast<double>(shortest.count())) ||
        !(*seconds * 1000 <= static_cast<double>(longest.count()))) {
        fail(
            "expected a time from " + std::to_string(shortest.count()) + "ms to " +
            std::to_string(longest.count() / 1000) + "s, such as 10s"
        );
    }
    return std::chrono::milliseconds{std::llround(*seconds * 1000)};
}

std::string config_node::text_of(const std::string& name, const std::string& fallback) const {
    const auto found = find(name);
    return found ? found->text() : fallback;
}

std::int64_t config_node::integer_of(
    const std::string& name, std::int64_t lowest, std::int64_t highest, std::int64_t fallback
) const {
    const auto found = find(name);
    return found ? found->integer(lowest, highest) : fallback;
}

std::vector<std::string> config_node::texts_of(const std::string& name) const {
    std::vector<std::string> result;
    if (const auto found = find(name)) {
        for (const config_node& item : found->items()) {
            result.push_back(item.text());
        }
    }
    return result;
}

void config_node::fail(const std::string& problem) const {
    throw probe_error{
        exit_code::usage,
        file_ + ":" + line_of(node_.Mark()) + (place_.empty() ? "" : place_ + ": ") + problem};
}

} // namespace tarvik::monitoring_modules::probe
