#include "simulator/stack_logger.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace tarvik::simulator {
namespace {

constexpr std::size_t longest_line = 1024; // longer ones are cut
constexpr std::array<std::string_view, UA_LOGCATEGORIES> categories{
    "network",
    "channel",
    "session",
    "server",
    "client",
    "user",
    "policy",
    "loop",
    "pub/sub",
    "discovery",
};

log_level level_of(UA_LogLevel level) {
    const int number = std::clamp<int>(level, UA_LOGLEVEL_TRACE, UA_LOGLEVEL_FATAL);
    return static_cast<log_level>(
        (number - UA_LOGLEVEL_TRACE) / 100
    ); // the stack counts in hundreds
}

} // namespace

stack_logger::stack_logger(log_sink sink, log_level lowest)
    : sink_(std::move(sink)),
      lowest_(lowest),
      logger_{log, this, nullptr} {}

void stack_logger::log(
    void* context, UA_LogLevel level, UA_LogCategory category, const char* format, va_list values
) noexcept {
    auto& self = *static_cast<stack_logger*>(context);
    if (level == UA_LOGLEVEL_DEBUG && category == UA_LOGCATEGORY_SESSION &&
        std::string_view{format}.find("Processing ReadRequest") != std::string_view::npos) {
        ++self.read_requests_;
    }
    if (!self.sink_ || level_of(level) < self.lowest_) {
        return;
    }
    std::array<char, longest_line> line{};
    const int length = std::vsnprintf(line.data(), line.size(), format, values);
    if (length < 0) {
        return;
    }
    const auto shown = std::min(static_cast<std::size_t>(length), line.size() - 1);
    const auto index = std::min<std::size_t>(category, categories.size() - 1);
    try {
        self.sink_(level_of(level), categories[index], {line.data(), shown});
    } catch (...) { // NOLINT(bugprone-empty-catch): a log line is not worth a server
    }
}

} // namespace tarvik::simulator
