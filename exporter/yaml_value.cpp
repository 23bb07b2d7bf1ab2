#include "exporter/yaml_value.hpp"

#include "text/nearest_names.hpp"
#include "text/number.hpp"
#include <yaml-cpp/eventhandler.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <sstream>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] config_place place_of(std::size_t file, const YAML::Mark& mark) {
    return mark.is_null() ? config_place{file} : config_place{file, mark.line + 1, mark.column};
}

/// @return "100ms", "24h": as people write it
[[nodiscard]] std::string time_text(std::chrono::milliseconds time) {
    using namespace std::chrono;
    using namespace std::chrono_literals;
    return time % hours{1} == 0ms     ? std::to_string(time / hours{1}) + "h"
           : time % seconds{1} == 0ms ? std::to_string(time / seconds{1}) + "s"
                                      : std::to_string(time.count()) + "ms";
}

/// Notes where documents begin.
class document_starts final : public YAML::EventHandler {
  public:
    [[nodiscard]] const std::vector<YAML::Mark>& marks() const noexcept { return marks_; }

    void OnDocumentStart(const YAML::Mark& mark) override { marks_.push_back(mark); }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark&, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark&, YAML::anchor_t) override {}
    void
    OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t, const std::string&) override {}
    void OnSequenceStart(
        const YAML::Mark&, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value
    ) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(
        const YAML::Mark&, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value
    ) override {}
    void OnMapEnd() override {}

  private:
    std::vector<YAML::Mark> marks_;
};

/// @return what is wrong with a text that is not one document, and where
[[nodiscard]] std::optional<std::pair<YAML::Mark, const char*>> what_follows(const std::string& text
) {
    // YAML::LoadAll takes a comma where none belongs for one empty document after the other, up to
    // the end of the memory.
    std::istringstream stream{text};
    YAML::Parser parser{stream};
    document_starts starts;
    while (starts.marks().size() < 3 && parser.HandleNextDocument(starts)) {
    }
    const std::vector<YAML::Mark>& marks = starts.marks();
    if (marks.size() < 2) {
        return std::nullopt;
    }
    const bool stuck = std::ranges::adjacent_find(marks, {}, &YAML::Mark::pos) != marks.end();
    return std::pair{
        marks[1],
        stuck ? "this cannot stand here"
              : "a second document begins here; one file has one"}; // "---" would lose the rest
}

} // namespace

yaml_value::yaml_value(const YAML::Node& node, config_report& report, config_remark remark)
    : node_{node},
      report_{&report},
      remark_{std::move(remark)} {}

std::optional<yaml_value>
yaml_value::parse(const std::string& text, config_report& report, std::size_t file) {
    try {
        if (const auto wrong = what_follows(text)) {
            report.mistake({place_of(file, wrong->first), "", wrong->second});
            return std::nullopt;
        }
        const YAML::Node whole = YAML::Load(text);
        return yaml_value{whole, report, {place_of(file, whole.Mark()), "", ""}};
    } catch (const YAML::Exception& error) {
        // What stands behind a colon is from the file, and perhaps a password: "*secret" names an
        // anchor, unless it stands in quotes.
        const std::string problem = error.msg.substr(0, error.msg.find(':'));
        const bool anchor = problem.find("anchor") != std::string::npos;
        const char* const advice = anchor ? "; a text that begins with * or & needs quotes" : "";
        report.mistake({place_of(file, error.mark), "", problem + advice});
        return std::nullopt;
    }
}

yaml_value
yaml_value::at(const YAML::Node& node, const YAML::Mark& mark, const std::string& member) const {
    return {node, *report_, {place_of(remark_.place.file, mark), member, ""}};
}

std::optional<yaml_value> yaml_value::find(const std::string& name) const {
    if (!node_.IsMap()) {
        fail("expected a mapping");
    }
    for (const auto& member : node_) {
        if (member.first.IsScalar() && member.first.Scalar() == name) {
            const std::string whole = remark_.member.empty() ? name : remark_.member + "." + name;
            return member.second.IsNull()
                       ? std::nullopt
                       : std::optional{at(member.second, member.first.Mark(), whole)};
        }
    }
    return std::nullopt;
}

yaml_value yaml_value::required(const std::string& name) const {
    auto found = find(name);
    if (!found) {
        fail("\"" + name + "\" is required");
    }
    return *std::move(found);
}

std::vector<std::pair<std::string, yaml_value>> yaml_value::members() const {
    if (!node_.IsMap()) {
        fail("expected a mapping");
    }
    std::vector<std::pair<std::string, yaml_value>> result;
    std::set<std::string> names;
    for (const auto& member : node_) {
        if (!member.first.IsScalar()) {
            at(member.first, member.first.Mark(), remark_.member)
                .mistake("the names of members must be texts");
            continue;
        }
        const std::string name = member.first.Scalar();
        const std::string whole = remark_.member.empty() ? name : remark_.member + "." + name;
        const yaml_value value = at(member.second, member.first.Mark(), whole);
        if (names.insert(name).second) {
            result.emplace_back(name, value);
        } else {
            value.mistake("\"" + name + "\" stands here twice");
        }
    }
    return result;
}

std::vector<yaml_value> yaml_value::items() const {
    if (!node_.IsSequence()) {
        fail("expected a list");
    }
    std::vector<yaml_value> result;
    for (const auto& item : node_) {
        const std::string number = "[" + std::to_string(result.size()) + "]";
        result.push_back(at(item, item.Mark(), remark_.member + number));
    }
    return result;
}

void yaml_value::allow_only(std::initializer_list<const char*> names) const {
    const std::vector<std::string> known{names.begin(), names.end()};
    for (const auto& [name, value] : members()) {
        if (std::ranges::find(known, name) == known.end()) {
            value.mistake(
                "there is no such setting here" + did_you_mean(nearest_names(name, known))
            );
        }
    }
}

std::string yaml_value::text() const {
    if (!node_.IsScalar()) {
        fail("expected a text");
    }
    return node_.Scalar();
}

std::chrono::milliseconds
yaml_value::duration(std::chrono::milliseconds shortest, std::chrono::milliseconds longest) const {
    const std::optional<double> seconds = parse_seconds(text());
    if (!seconds || !(*seconds * 1000 >= static_cast<double>(shortest.count())) ||
        !(*seconds * 1000 <= static_cast<double>(longest.count()))) {
        fail(
            "expected a time from " + time_text(shortest) + " to " + time_text(longest) +
            ", such as 10s"
        );
    }
    return std::chrono::milliseconds{std::llround(*seconds * 1000)};
}

std::string yaml_value::text_of(const std::string& name, const std::string& fallback) const {
    std::string result = fallback;
    attempt([&] {
        if (const auto found = find(name)) {
            result = found->text();
        }
    });
    return result;
}

std::int64_t yaml_value::integer_of(
    const std::string& name, std::int64_t lowest, std::int64_t highest, std::int64_t fallback
) const {
    std::int64_t result = fallback;
    attempt([&] {
        const auto found = find(name);
        if (!found) {
            return;
        }
        const auto number = parse_number<std::int64_t>(found->text());
        if (!number || *number < lowest || *number > highest) {
            found->fail(
                "expected a whole number from " + std::to_string(lowest) + " to " +
                std::to_string(highest)
            );
        }
        result = *number;
    });
    return result;
}

bool yaml_value::is_chosen(
    const std::string& name, const std::string& usual, const std::string& other
) const {
    const std::string text = text_of(name, usual);
    if (text != usual && text != other) {
        required(name).mistake("expected " + usual + " or " + other);
    }
    return text == other;
}

std::vector<yaml_value> yaml_value::items_of(const std::string& name) const {
    std::vector<yaml_value> result;
    attempt([&] {
        if (const auto found = find(name)) {
            result = found->items();
        }
    });
    return result;
}

std::vector<std::string> yaml_value::texts_of(const std::string& name) const {
    std::vector<std::string> result;
    for (const yaml_value& item : items_of(name)) {
        item.attempt([&] { result.push_back(item.text()); });
    }
    return result;
}

config_remark yaml_value::with(const std::string& problem) const {
    config_remark remark = remark_;
    remark.problem = problem;
    return remark;
}

void yaml_value::fail(const std::string& problem) const {
    throw config_mistake{with(problem)};
}

} // namespace tarvik::monitoring_modules::probe
