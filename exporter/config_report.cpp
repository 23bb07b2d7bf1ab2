#include "exporter/config_report.hpp"

#include "text/terminal_text.hpp"
#include "text/utf8.hpp"

#include <tuple>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_line = 1'000; // bytes

} // namespace

bool config_report::by_place::operator()(const config_remark& left, const config_remark& right)
    const {
    return std::tie(left.place, left.problem) < std::tie(right.place, right.problem);
}

void config_report::first_remarks::add(config_remark&& one) {
    ++found;
    if (!kept.insert(std::move(one)).second || kept.size() <= most_shown) {
        return;
    }
    kept.erase(std::prev(kept.end()));
    ++left_out;
}

std::size_t config_report::add_file(std::string name) {
    files_.push_back(std::move(name));
    return files_.size() - 1;
}

std::string config_report::text_of(const config_place& place) const {
    return files_.at(place.file) + (place.line > 0 ? ":" + std::to_string(place.line) : "");
}

std::vector<std::string>
config_report::lines(const first_remarks& remarks, const char* mark) const {
    std::vector<std::string> result;
    for (const auto& [place, member, problem] : remarks.kept) {
        const std::string where = member.empty() ? "" : member + ": ";
        result.push_back(
            limited(sanitise(text_of(place) + ": " + mark + where + problem), longest_line)
        );
    }
    if (remarks.left_out > 0) {
        result.push_back("and " + std::to_string(remarks.left_out) + " more");
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
