#include "probe/commands.hpp"

namespace tarvik::monitoring_modules::probe {

exit_code run_alone(const command_context& context, const module_step& step) {
    session loaded{context.module, context.language, context.terminal, step.shown_severity};
    return step.run(context, loaded);
}

std::string waiting_for(const connection_arguments& connection) {
    return "waiting for " + address_of(connection);
}

std::string address_of(const connection_arguments& connection) {
    const std::string& host = connection.host;
    const bool needs_brackets = host.find(':') != std::string::npos && !host.starts_with('[');
    return (needs_brackets ? "[" + host + "]" : host) + ":" + std::to_string(connection.port);
}

} // namespace tarvik::monitoring_modules::probe
