#include "common/liblog/bounded_lines.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::liblog {

namespace {

constexpr std::size_t room_for_the_mark = 64; // bytes

/// @return the text, or its beginning and a mark; no character of UTF-8 is cut in two.
std::string shortened(std::string_view text, std::size_t longest) {
    if (text.size() <= longest) {
        return std::string{text};
    }
    const auto continues = [&](std::size_t place) {
        return (static_cast<unsigned char>(text[place]) & 0xC0U) == 0x80U;
    };
    std::size_t kept = longest - room_for_the_mark;
    for (int most = 3; most > 0 && continues(kept); --most) {
        --kept;
    }
    std::string line{text.substr(0, kept)};
    line.append(" [").append(std::to_string(text.size() - kept)).append(" bytes left out]");
    return line;
}

} // namespace

/// Whether the first or the last lines may be so many: half of what there is room for beside the
/// line about those left out.
bool bounded_lines::is_half(std::size_t lines, std::size_t bytes) const noexcept {
    return lines <= (bounds_.lines - 1) / 2 && bytes <= (bounds_.bytes - room_for_the_mark) / 2;
}

void bounded_lines::drop_oldest_of_last() {
    const auto& [level, text] = last_.lines.front();
    last_.bytes -= text.size();
    left_out_level_ = std::max(left_out_level_, level);
    ++left_out_;
    last_.lines.pop_front();
}

void bounded_lines::add(severity level, std::string_view text) {
    entry line{level, shortened(text, bounds_.longest())};
    const std::size_t size = line.second.size();
    const bool among_first =
        last_.lines.empty() && is_half(first_.lines.size() + 1, first_.bytes + size);
    stretch& place = among_first ? first_ : last_;
    place.lines.push_back(std::move(line));
    place.bytes += size;
    while (!is_half(last_.lines.size(), last_.bytes)) {
        drop_oldest_of_last();
    }
}

std::deque<bounded_lines::entry> bounded_lines::entries() const {
    std::deque<entry> all = first_.lines;
    if (left_out_ > 0) {
        all.emplace_back(left_out_level_, "[" + std::to_string(left_out_) + " lines left out]");
    }
    all.insert(all.end(), last_.lines.begin(), last_.lines.end());
    return all;
}

void bounded_lines::clear() noexcept {
    for (stretch* const part : {&first_, &last_}) {
        part->lines.clear();
        part->bytes = 0;
    }
    left_out_ = 0;
    left_out_level_ = severity::failed_check;
}

} // namespace tarvik::monitoring_modules::liblog
