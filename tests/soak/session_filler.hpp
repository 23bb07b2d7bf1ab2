#pragma once
// Takes all the places for sessions that a server has, and gives them back.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <open62541/client.h>

namespace tarvik::soak {

/// One thread at a time.
class session_filler final {
  public:
    /// Opens sessions until the server refuses one.
    /// @return how many there are
    std::size_t fill(const std::string& url);

    /// Closes them, politely.
    void release();

  private:
    struct deleter {
        void operator()(UA_Client* client) const noexcept { UA_Client_delete(client); }
    };
    using client_ptr = std::unique_ptr<UA_Client, deleter>;

    [[nodiscard]] static client_ptr connect(const std::string& url);

    std::vector<client_ptr> clients_;
};

} // namespace tarvik::soak
