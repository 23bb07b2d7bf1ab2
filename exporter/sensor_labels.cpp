#include "exporter/sensor_labels.hpp"

#include "text/terminal_text.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <array>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_label_name = 40;
constexpr std::size_t longest_label_value = 100; // characters

/// Our own, those that Prometheus adds, and those that histograms and summaries have.
constexpr auto taken_names = std::to_array<std::string_view>(
    {"channel",
     "code",
     "error",
     "instance",
     "job",
     "kind",
     "le",
     "module",
     "name",
     "outcome",
     "path",
     "quantile",
     "sensor",
     "server",
     "version"}
);

/// @return what is wrong with it; empty: nothing
[[nodiscard]] std::string problem_of_name(const std::string& name) {
    constexpr std::string_view letters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";
    const bool digit = !name.empty() && name.front() >= '0' && name.front() <= '9';
    if (name.empty() || digit || name.find_first_not_of(letters) != std::string::npos ||
        name.size() > longest_label_name) {
        return "a label's name has letters a to z, digits and _, begins with no digit, and has at "
               "most " +
               std::to_string(longest_label_name) + " characters";
    }
    if (contains(taken_names, name) || name.starts_with("opcua_") || name.starts_with("__")) {
        return "this label is in use already; take another name, such as plant_" + name;
    }
    return "";
}

} // namespace

void read_labels(const yaml_value& node, sensor_labels& to) {
    node.attempt([&] {
        const auto labels = node.find("labels");
        if (!labels) {
            return;
        }
        for (const auto& [name, value] : labels->members()) {
            value.attempt([&, &label = name, &given = value] {
                const std::string problem = problem_of_name(label);
                if (!problem.empty()) {
                    given.fail(problem);
                }
                const std::string text = given.text();
                if (sanitise(text) != text || character_count(text) > longest_label_value) {
                    given.fail(
                        "expected a text of at most " + std::to_string(longest_label_value) +
                        " characters, in UTF-8, without control characters"
                    );
                }
                to.insert_or_assign(label, text);
            });
        }
        std::erase_if(to, [](const auto& each) { return each.second.empty(); });
        if (to.size() > most_labels) {
            labels->mistake(
                "these are " + std::to_string(to.size()) +
                " labels with those of the defaults, at "
                "most " +
                std::to_string(most_labels) + " are allowed"
            );
        }
    });
}

} // namespace tarvik::monitoring_modules::probe
