#include "exporter/fault_journal.hpp"

#include "host/hint.hpp"
#include "host/log.hpp"
#include "host/translation.hpp"
#include "host/value_format.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>

namespace tarvik::monitoring_modules::probe {

namespace {

using news = fault_record::news;

constexpr std::int32_t notice = 5;
constexpr std::size_t most_names = 3;
constexpr std::size_t longest_text = 1'000; // bytes, of what a server may have said

/// @return what is wrong with a connection, in a few words
[[nodiscard]] std::string_view words_for(connection_state state) {
    constexpr auto words = std::to_array<std::string_view>(
        {"not connected yet",
         "works",
         "cannot be reached",
         "is not trusted",
         "refuses our certificate",
         "refuses the user",
         "offers no such endpoint",
         "fails"}
    );
    return words.at(static_cast<std::size_t>(state));
}

/// @return "3 min 12 s"
[[nodiscard]] std::string text_of(fault_record::duration time) {
    const auto seconds = std::chrono::round<std::chrono::seconds>(time).count();
    channel_unit unit;
    unit.code = static_cast<std::int64_t>(unit_code::time_span);
    const formatted_value text = format_value(std::int64_t{seconds}, unit, 1);
    return text.unit.empty() ? text.number : text.number + " " + text.unit;
}

[[nodiscard]] std::string counted(std::size_t sensors) {
    return std::to_string(sensors) + (sensors == 1 ? " sensor" : " sensors");
}

/// @return "; 5 sensors (a, b, c and 2 more)"
[[nodiscard]] std::string list_of(std::vector<std::string> names) {
    if (names.empty()) { // asked for by /probe
        return "";
    }
    const std::size_t all = names.size();
    names.resize(std::min(all, most_names));
    const std::string more =
        all > most_names ? " and " + std::to_string(all - most_names) + " more" : "";
    return "; " + counted(all) + " (" + joined(names) + more + ")";
}

/// @return ": " with the message of the fault, and what to do
[[nodiscard]] std::string cause_of(const sensor_fault& fault) {
    const std::string hint =
        fault.hint.empty() ? hint_for(fault.identity, default_language) : fault.hint;
    return ": " + limited(fault.text, longest_text) + (hint.empty() ? "" : " ") +
           limited(hint, longest_text);
}

constexpr const char* comes_and_goes =
    " comes and goes; it is not told of until it has been one way for ten minutes";

} // namespace

fault_record::news fault_record::failed(const std::string& reason, time_point now) {
    const bool fresh = !since_;
    if (fresh) {
        returns_ = ended_ && now - *ended_ < calm ? returns_ + 1 : 0;
        since_ = now;
        told_.clear();
    }
    if (returns_ >= most_returns && now - *since_ < calm) {
        return fresh && returns_ == most_returns ? news::unsteady : news::none;
    }
    const bool is_new = told_.size() < most_reasons && told_.insert(reason).second;
    return is_new ? news::begins : news::none;
}

fault_record::news fault_record::works(time_point now) {
    if (since_) {
        lasted_ = now - *since_;
        end_untold_ = told_.empty();
        since_.reset();
        ended_ = now;
        return end_untold_ ? news::none : news::ends;
    }
    if (end_untold_ && now - *ended_ >= calm) {
        end_untold_ = false;
        return news::steady;
    }
    return news::none;
}

void fault_journal::note(
    const subject& scanned,
    const std::optional<sensor_fault>& fault,
    const name_list& sensors,
    time_point now
) {
    if (fault && fault->connection) {
        connection_failed(*fault, sensors, now);
        return;
    }
    connection_works(sensors, now);
    if (fault) {
        sensor_failed(scanned, *fault, now);
    } else {
        sensor_works(scanned, now);
    }
}

void fault_journal::connection_failed(
    const sensor_fault& fault, const name_list& sensors, time_point now
) {
    const connection_state state = fault.connection.value_or(connection_state::error);
    const news told = connection_.failed(std::string{name_of(state)}, now);
    if (told == news::begins) {
        const std::string what = server_ + " " + std::string{words_for(state)};
        lines_.push_back({severity_error, what + list_of(sensors()) + cause_of(fault)});
    } else if (told == news::unsteady) {
        lines_.push_back({severity_warning, server_ + comes_and_goes});
    }
}

void fault_journal::connection_works(const name_list& sensors, time_point now) {
    const news told = connection_.works(now);
    if (told == news::none) {
        return;
    }
    const std::string how = told == news::ends
                                ? "reachable again after " + text_of(connection_.lasted())
                                : "reachable without a break again";
    const std::size_t count = sensors().size();
    lines_.push_back({notice, server_ + " " + how + (count == 0 ? "" : "; " + counted(count))});
}

void fault_journal::sensor_failed(
    const subject& scanned, const sensor_fault& fault, time_point now
) {
    const auto identity = parse_identity(fault.identity);
    const std::string who = scanned.sensor + " at " + server_;
    const news told = scanned.faults.failed(identity ? identity->key : "", now);
    if (told == news::begins) {
        lines_.push_back({severity_error, who + " fails" + cause_of(fault)});
    } else if (told == news::unsteady) {
        lines_.push_back({severity_warning, who + comes_and_goes});
    }
}

void fault_journal::sensor_works(const subject& scanned, time_point now) {
    const news told = scanned.faults.works(now);
    if (told == news::none) {
        return;
    }
    const std::string how = told == news::ends
                                ? "works again after " + text_of(scanned.faults.lasted())
                                : "works without a break again";
    lines_.push_back({notice, scanned.sensor + " at " + server_ + " " + how});
}

} // namespace tarvik::monitoring_modules::probe
