#pragma once

// The doors by which bytes come in from outside. Each takes any bytes, does with them what the
// programs do, and looks whether what comes out is what was promised. An error that the caller of
// the code expects is no finding; everything else ends the process: other exceptions, sanitizers,
// require().

#include "common/libexception/exception.hpp"
#include "host/probe_error.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::fuzz {

void browse_answers(std::string_view input);
void certificates(std::string_view input);
void configuration(std::string_view input);
void endpoint_answers(std::string_view input);
void host_messages(std::string_view input);
void http_requests(std::string_view input);
void http_sockets(std::string_view input);
void https_sockets(std::string_view input);
void log_lines(std::string_view input);
void node_ids(std::string_view input);
void plugin_ranges(std::string_view input);
void read_answers(std::string_view input);
void secured_sessions(std::string_view input);
void sessions(std::string_view input);
void settings_records(std::string_view input);
void text_templates(std::string_view input);
void trust_lists(std::string_view input);
void values(std::string_view input);

struct door {
    std::string_view name;
    void (*enter)(std::string_view input);
};

inline constexpr std::array doors{
    door{"browse_answers", browse_answers},
    door{"certificates", certificates},
    door{"configuration", configuration},
    door{"endpoint_answers", endpoint_answers},
    door{"host_messages", host_messages},
    door{"http_requests", http_requests},
    door{"http_sockets", http_sockets},
    door{"https_sockets", https_sockets},
    door{"log_lines", log_lines},
    door{"node_ids", node_ids},
    door{"plugin_ranges", plugin_ranges},
    door{"read_answers", read_answers},
    door{"secured_sessions", secured_sessions},
    door{"sessions", sessions},
    door{"settings_records", settings_records},
    door{"text_templates", text_templates},
    door{"trust_lists", trust_lists},
    door{"values", values},
};

/// @return null for an unknown name
[[nodiscard]] inline const door* find_door(std::string_view name) {
    const auto* const found = std::ranges::find(doors, name, &door::name);
    return found == doors.end() ? nullptr : found;
}

/// Ends the process when something is not so that must be so for every input.
inline void require(bool is_so, const char* what) {
    if (!is_so) {
        static_cast<void>(std::fprintf(stderr, "fuzz: broken promise: %s\n", what));
        std::abort();
    }
}

/// Does what may fail because its input is wrong.
/// @return whether it did not fail
template <typename Work>
bool tolerate(const Work& work) {
    try {
        work();
        return true;
    } catch (const libexception::exception&) {
    } catch (const probe::probe_error&) {
    } catch (const std::out_of_range&) {
    } catch (const std::invalid_argument&) {
    }
    return false;
}

/// Takes an input apart. Once it has come to its end, all that follows is zero or empty.
class input_parts {
  public:
    explicit input_parts(std::string_view input) : rest_{input} {}

    [[nodiscard]] bool empty() const noexcept { return rest_.empty(); }

    template <typename Number = std::uint8_t>
    Number number() {
        Number result{};
        const std::string_view bytes = bytes_of(sizeof result);
        std::memcpy(&result, bytes.data(), bytes.size());
        return result;
    }

    /// @return a part that has its length, two bytes with the lower one first, before it
    std::string_view part() { return bytes_of(number<std::uint16_t>()); }

    std::string_view bytes_of(std::size_t size) {
        const std::string_view bytes = rest_.substr(0, size);
        rest_.remove_prefix(bytes.size());
        return bytes;
    }

    /// @return what stands before the next mark, which is passed over
    std::string_view until(char mark) {
        const std::string_view bytes = rest_.substr(0, rest_.find(mark));
        rest_.remove_prefix(std::min(bytes.size() + 1, rest_.size()));
        return bytes;
    }

    std::string_view rest() { return std::exchange(rest_, {}); }

  private:
    std::string_view rest_;
};

} // namespace tarvik::monitoring_modules::fuzz
