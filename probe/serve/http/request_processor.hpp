#pragma once
// Makes the bytes of an answer out of the bytes of a request. cpp-httplib reads and writes HTTP;
// sockets and time are none of its business here.

#include "probe/serve/http/access_rules.hpp"
#include "probe/serve/http/http_message.hpp"

#include <httplib.h>

#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct request_text {
    std::string head; ///< up to and with the empty line
    std::string peer;
    bool last = false; ///< the connection is to be closed afterwards
};

struct answer_text {
    std::string bytes;
    bool keep = false; ///< whether another request may follow
};

/// One for each thread.
class request_processor final : private httplib::Server {
  public:
    /// All of them must outlive this object.
    request_processor(
        const access_rules& rules,
        const http_handler& handler,
        const http_observer& observer,
        bool secure
    );

    /// Never fails: whatever the request is, there is an answer.
    [[nodiscard]] answer_text process(const request_text& request);

  private:
    [[nodiscard]] answer_text converse(const request_text& request);
    void take(httplib::Request& request, const std::string& peer);
    void answer(httplib::Response& response);
    [[nodiscard]] http_answer asked_handler();

    const access_rules& rules_;
    const http_handler& handler_;
    const http_observer& observer_;
    const bool secure_;

    // The request in hand.
    std::optional<http_request> request_; // nothing: not understood
    std::optional<int> refusal_;
    http_record record_;
};

} // namespace tarvik::monitoring_modules::probe
