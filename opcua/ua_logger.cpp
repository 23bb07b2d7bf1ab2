#include "opcua/ua_logger.hpp"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace tarvik::monitoring_modules::opcua {

namespace {

constexpr std::string_view lifetime_mark = "revised lifetime of ";

std::optional<std::chrono::milliseconds> parse_lifetime(std::string_view line) {
    const std::size_t mark = line.find(lifetime_mark);
    if (mark == std::string_view::npos) {
        return std::nullopt;
    }
    line.remove_prefix(mark + lifetime_mark.size());
    double seconds = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), seconds);
    // The protocol carries the lifetime as a UInt32 in milliseconds.
    if (error != std::errc{} || !(seconds >= 0 && seconds <= 4294967.295)) {
        return std::nullopt;
    }
    return std::chrono::milliseconds{static_cast<std::int64_t>(seconds * 1000)};
}

} // namespace

ua_logger::ua_logger(liblog::log_interface& target)
    : handle_{&ua_logger::receive, this, nullptr},
      target_{&target} {}

void ua_logger::receive(
    void* context, UA_LogLevel level, UA_LogCategory category, const char* format, va_list arguments
) noexcept {
    try {
        const bool tells_lifetime = level == UA_LOGLEVEL_INFO &&
                                    category == UA_LOGCATEGORY_SECURECHANNEL &&
                                    std::strstr(format, lifetime_mark.data()) != nullptr;
        static_cast<ua_logger*>(context)->take(tells_lifetime, format, arguments);
    } catch (...) { // A line that cannot be kept is not worth a connection.
    }
}

void ua_logger::take(bool tells_lifetime, const char* format, va_list arguments) {
    const bool taken = liblog::takes(target_, liblog::severity::debug);
    if (!tells_lifetime && !taken) {
        return;
    }
    std::array<char, 1024> text;
    if (std::vsnprintf(text.data(), text.size(), format, arguments) < 0) {
        return;
    }
    if (tells_lifetime) {
        revised_lifetime_ = parse_lifetime(text.data());
    }
    if (taken) {
        liblog::write(target_, liblog::severity::debug, "OPC UA Client: ", text.data());
    }
}

} // namespace tarvik::monitoring_modules::opcua
