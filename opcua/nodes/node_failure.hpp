#pragma once

// How the errors of one node tell which node it was: the messages that users see do not, so the
// errors carry a line for the log.

#include "common/libexception/exception.hpp"
#include "common/libi18n/i18n_exception.hpp"

#include <exception>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

/// "NodeID ns=2;s=Pump.Speed failed: BadSensorFailure"
/// @param entered_id the NodeID as its user wrote it.
/// @param reason the name of a status, or the text of an error.
[[nodiscard]] inline std::string
node_failure_text(std::string_view entered_id, std::string_view reason) {
    std::string text{"NodeID "};
    text.append(entered_id).append(" failed: ").append(reason);
    return text;
}

/// The same of any error that ended work on the node: its detail where it has one.
[[nodiscard]] inline std::string
node_failure_of(std::string_view entered_id, const std::exception& error) {
    const auto* const ours = dynamic_cast<const libi18n::i18n_exception*>(&error);
    return ours != nullptr && !ours->detail().empty()
               ? std::string{ours->detail()}
               : node_failure_text(entered_id, libexception::text_of(error));
}

/// Throws an error of one node.
template <typename Error>
[[noreturn]] void
throw_for_node(Error error, std::string_view entered_id, std::string_view reason) {
    error.add_detail(node_failure_text(entered_id, reason));
    throw error;
}

/// Does work on one node and gives its result; an error of it then tells which node it was.
/// @throws what the work throws.
template <typename Work>
decltype(auto) for_node(std::string_view entered_id, const Work& work) {
    try {
        return work();
    } catch (libi18n::i18n_exception& error) {
        error.add_detail(node_failure_text(entered_id, error.message().text()));
        throw;
    }
}

} // namespace tarvik::monitoring_modules::opcua
