#include "host/kept_lines.hpp"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t room_for_the_mark = 64; // bytes

/// Whether the first or the last lines may be so many: half of what there is room for.
[[nodiscard]] bool is_half(std::size_t lines, std::size_t bytes) noexcept {
    return lines <= (kept_lines::most_lines - 1) / 2 &&
           bytes <= (kept_lines::most_bytes - room_for_the_mark) / 2;
}

[[nodiscard]] std::string& text_of(log_entry& entry) {
    return std::visit([](auto& each) -> std::string& { return each.text; }, entry);
}

/// Leaves the beginning and a mark; no character of UTF-8 is cut in two.
void shorten(std::string& text) {
    if (text.size() <= kept_lines::longest_line) {
        return;
    }
    std::size_t kept = kept_lines::longest_line - room_for_the_mark;
    const auto continues = [&] {
        return (static_cast<unsigned char>(text[kept]) & 0xC0U) == 0x80U;
    };
    for (int most = 3; most > 0 && continues(); --most) {
        --kept;
    }
    const std::size_t left_out = text.size() - kept;
    text.resize(kept);
    text.append(" [").append(std::to_string(left_out)).append(" bytes left out]");
    text.shrink_to_fit();
}

} // namespace

std::vector<log_line> lines_of(std::vector<log_entry> entries) {
    std::vector<log_line> lines;
    for (log_entry& entry : entries) {
        if (auto* line = std::get_if<log_line>(&entry)) {
            lines.push_back(std::move(*line));
        }
    }
    return lines;
}

void kept_lines::drop_oldest_of_last() {
    last_bytes_ -= text_of(last_.front()).size();
    if (const auto* line = std::get_if<log_line>(&last_.front())) {
        left_out_severity_ = std::max(left_out_severity_, line->severity);
    }
    ++left_out_;
    last_.pop_front();
}

void kept_lines::add(log_entry entry) {
    shorten(text_of(entry));
    const std::size_t size = text_of(entry).size();
    if (last_.empty() && is_half(first_.size() + 1, first_bytes_ + size)) {
        first_.push_back(std::move(entry));
        first_bytes_ += size;
        return;
    }
    last_.push_back(std::move(entry));
    last_bytes_ += size;
    while (!is_half(last_.size(), last_bytes_)) {
        drop_oldest_of_last();
    }
}

std::vector<log_entry> kept_lines::take() {
    kept_lines taken = std::exchange(*this, {});
    std::vector<log_entry> all = std::move(taken.first_);
    if (taken.left_out_ > 0) {
        all.emplace_back(log_line{
            "",
            taken.left_out_severity_,
            "[" + std::to_string(taken.left_out_) + " lines left out]"});
    }
    std::ranges::move(taken.last_, std::back_inserter(all));
    return all;
}

} // namespace tarvik::monitoring_modules::probe
