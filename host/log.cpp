#include "host/log.hpp"

#include "host/status_name.hpp"
#include "text/utf8.hpp"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
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

/// Leaves the beginning and a mark.
void shorten(std::string& text) {
    if (text.size() > kept_lines::longest_line) {
        std::string kept{first_bytes(text, kept_lines::longest_line - room_for_the_mark)};
        const std::size_t left_out = text.size() - kept.size();
        text = std::move(kept) + " [" + std::to_string(left_out) + " bytes left out]";
    }
}

} // namespace

extern "C" {

static void receive_line(
    void* receiver,
    const char* source,
    std::int32_t severity,
    const char* text,
    std::uint32_t length
) {
    try {
        std::string line{text == nullptr ? "" : text, text == nullptr ? 0 : length};
        line.erase(line.find_last_not_of("\r\n") + 1);
        (*static_cast<log_sink::line_receiver*>(receiver)
        )({source == nullptr ? "" : source, severity, std::move(line)});
    } catch (const std::exception&) {
        return; // out of memory: the line is lost, the module must not notice
    }
}

static void
receive_event(void* receiver, std::int32_t kind, const char* text, std::uint32_t length) {
    try {
        (*static_cast<log_sink::event_receiver*>(receiver))({kind, std::string{text, length}});
    } catch (const std::exception&) {
        return; // out of memory: the event is lost, the module must not notice
    }
}

} // extern "C"

std::string to_text(const log_line& line) {
    constexpr std::int32_t failure = severity_error - 1; // or worse
    constexpr std::array names{"failure", "error", "warning", "notice", "info", "debug"};
    const auto severity = std::clamp(line.severity, failure, severity_debug);
    std::string text = names.at(static_cast<std::size_t>(severity - failure));
    text.resize(9, ' ');
    return text + line.source + (line.source.empty() ? "" : ": ") + with_status_names(line.text);
}

log_sink::log_sink(const module_library& library, line_receiver on_line, event_receiver on_event)
    : framework_{library.framework()},
      on_line_{std::move(on_line)},
      on_event_{std::move(on_event)} {
    if (framework_.set_log_sink != nullptr) {
        framework_.set_log_sink(&receive_line, &on_line_);
    }
    if (framework_.set_event_observer != nullptr) {
        framework_.set_event_observer(&receive_event, &on_event_);
    }
}

log_sink::~log_sink() {
    if (framework_.set_event_observer != nullptr) {
        framework_.set_event_observer(nullptr, nullptr);
    }
    if (framework_.set_log_sink != nullptr) {
        framework_.set_log_sink(nullptr, nullptr);
    }
}

std::vector<log_line> lines_of(std::vector<log_entry> entries) {
    std::vector<log_line> lines;
    for (log_entry& entry : entries) {
        if (auto* line = std::get_if<log_line>(&entry)) {
            lines.push_back(std::move(*line));
        }
    }
    return lines;
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
    for (; !is_half(last_.size(), last_bytes_); last_.pop_front()) {
        last_bytes_ -= text_of(last_.front()).size();
        ++left_out_;
        if (const auto* line = std::get_if<log_line>(&last_.front())) {
            left_out_severity_ = std::max(left_out_severity_, line->severity);
        }
    }
}

std::vector<log_entry> kept_lines::take() {
    kept_lines taken = std::exchange(*this, {});
    std::vector<log_entry> all = std::move(taken.first_);
    if (taken.left_out_ > 0) {
        const std::string text = "[" + std::to_string(taken.left_out_) + " lines left out]";
        all.emplace_back(log_line{"", taken.left_out_severity_, text});
    }
    std::ranges::move(taken.last_, std::back_inserter(all));
    return all;
}

} // namespace tarvik::monitoring_modules::probe
