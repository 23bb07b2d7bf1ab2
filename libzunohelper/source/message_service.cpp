#include "zunohelper/message_service.hpp"

#include <stdexcept>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

message_service::message_service(send_function send) : send_{std::move(send)} {
    if (!send_) {
        throw std::invalid_argument{"message_service: the send function must not be empty"};
    }
}

void message_service::send(const zuno_message& message) {
    const std::string bytes = message.serialize();
    send_(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    message.delivered();
}

} // namespace tarvik::monitoring_modules::libzunohelper
