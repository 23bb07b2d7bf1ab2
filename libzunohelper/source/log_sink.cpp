#include "log_sink.hpp"

#include "utf8.hpp"
#include "zunohelper/log_sink.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <mutex>
#include <shared_mutex>

namespace tarvik::monitoring_modules::libzunohelper::log_sink {

namespace {

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): the host sets one sink for the
// process
/// Writers share the mutex while they call the sink, so whoever replaces the sink, holding it
/// alone, knows that the former one is not called any more.
std::shared_mutex sink_mutex;
zuno_log_sink sink = nullptr; // guarded by sink_mutex
void* sink_user = nullptr;    // likewise
std::atomic<bool> has_sink{false};

// In the block that every thread has from its start, as in message_service.cpp.
[[gnu::tls_model("initial-exec")]] thread_local liblog::severity wanted{
    std::numeric_limits<std::int32_t>::max()};
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

void append_severity(std::string& line, liblog::severity level) {
    switch (level) {
    case liblog::severity::failed_check:
        line.append("failed check");
        return;
    case liblog::severity::error:
        line.append("error");
        return;
    case liblog::severity::warning:
        line.append("warning");
        return;
    case liblog::severity::info:
        line.append("info");
        return;
    case liblog::severity::debug:
        line.append("debug");
        return;
    }
    line.append("severity ").append(std::to_string(static_cast<std::int32_t>(level)));
}

void write_to_standard_error(
    const std::string& source, liblog::severity level, std::string_view text
) {
    std::string line{"opcua module ["};
    line.append(source).append("] ");
    append_severity(line, level);
    line.append(": ").append(text).push_back('\n');
    // One call for the whole line, so that lines of several threads do not mix. Nobody can be told
    // when it fails.
    const int errno_of_caller = errno;
    [[maybe_unused]] const auto count = ::write(STDERR_FILENO, line.data(), line.size());
    errno = errno_of_caller;
}

void append_escape(std::string& line, char control) {
    switch (control) {
    case '\n':
        line.append("\\n");
        return;
    case '\r':
        line.append("\\r");
        return;
    case '\t':
        line.append("\\t");
        return;
    default:
        break;
    }
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(control);
    line.append("\\x");
    line.push_back(digits[byte >> 4U]);
    line.push_back(digits[byte & 0xFU]);
}

bool is_control(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

} // namespace

std::string one_line(std::string_view text) {
    text = text.substr(0, text.find_last_not_of("\r\n") + 1);
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const std::size_t sequence = utf8::sequence_length(text);
        if (sequence == 0) {
            line.append(utf8::replacement);
        } else if (is_control(text[0])) {
            append_escape(line, text[0]);
        } else {
            line.append(text.substr(0, sequence));
        }
        text.remove_prefix(sequence == 0 ? 1 : sequence);
    }
    return line;
}

liblog::severity threshold() noexcept {
    const bool all = has_sink.load(std::memory_order_relaxed);
    return std::min(wanted, all ? liblog::severity::debug : liblog::severity::warning);
}

void write(const std::string& source, liblog::severity level, std::string_view text) {
    const bool to_sink = has_sink.load(std::memory_order_relaxed);
    if (level > wanted || (!to_sink && level > liblog::severity::warning)) {
        return;
    }
    const std::string line = one_line(text);
    {
        const std::shared_lock lock{sink_mutex};
        if (sink) {
            sink(
                sink_user,
                source.c_str(),
                static_cast<std::int32_t>(level),
                line.data(),
                static_cast<std::uint32_t>(line.size())
            );
            return;
        }
    }
    if (level <= liblog::severity::warning) {
        write_to_standard_error(source, level, line);
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper::log_sink

extern "C" void ZunoSetLogSink(zuno_log_sink new_sink, void* user) {
    namespace state = tarvik::monitoring_modules::libzunohelper::log_sink;
    const std::unique_lock lock{state::sink_mutex};
    state::sink = new_sink;
    state::sink_user = user;
    state::has_sink.store(new_sink != nullptr, std::memory_order_relaxed);
}

extern "C" void ZunoSetLogThreshold(std::int32_t highest) {
    namespace state = tarvik::monitoring_modules::libzunohelper::log_sink;
    state::wanted = tarvik::monitoring_modules::liblog::severity{highest};
}
