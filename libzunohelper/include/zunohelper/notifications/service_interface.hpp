#pragma once

// Sends one notification. The dispatcher makes one object for each, calls send_notification, then,
// whatever happened, build_response, and hands the response to the host.

#include "zunohelper/export.hpp"
#include "zunohelper/notifications/request.hpp"
#include "zunohelper/notifications/response.hpp"

#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper::notifications {

/// Used by one thread.
class ZUNOHELPER_API service_interface {
  public:
    service_interface() = default;
    service_interface(const service_interface&) = delete;
    service_interface& operator=(const service_interface&) = delete;
    virtual ~service_interface();

    /// Does what the request asks for; returns when it is done.
    /// @throws whatever went wrong.
    virtual void send_notification(const request& what) = 0;

    /// Makes the response from what send_notification logged, in place of an earlier one.
    virtual void build_response() = 0;

    /// @return the serialised response; empty when there is none, and afterwards.
    [[nodiscard]] std::string take_response() noexcept { return std::exchange(response_, {}); }

  protected:
    void keep_response(const response& answer) { response_ = answer.serialize(); }

  private:
    std::string response_;
};

} // namespace tarvik::monitoring_modules::libzunohelper::notifications
