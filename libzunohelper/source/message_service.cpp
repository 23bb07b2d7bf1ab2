#include "zunohelper/message_service.hpp"

#include <stdexcept>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

// How many send functions the thread is inside: what they call may send as well. In the block that
// every thread has from its start: the usual model takes memory at the first use in a thread, and
// ends the process when there is none.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
[[gnu::tls_model("initial-exec")]] thread_local unsigned sends = 0;

struct sending {
    sending() noexcept { ++sends; }
    sending(const sending&) = delete;
    sending& operator=(const sending&) = delete;
    ~sending() { --sends; }
};

} // namespace

message_service::message_service(send_function send) : send_{std::move(send)} {
    if (!send_) {
        throw std::invalid_argument{"message_service: the send function must not be empty"};
    }
}

void message_service::send(const zuno_message& message) {
    const std::string bytes = message.serialize();
    {
        const sending entered;
        send_(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    message.delivered();
}

bool message_service::is_sending() noexcept {
    return sends > 0;
}

} // namespace tarvik::monitoring_modules::libzunohelper
