#pragma once
// Which request gets which answer.

#include "probe/serve/board.hpp"
#include "probe/serve/http/http_message.hpp"
#include "probe/serve/language_shelf.hpp"
#include "probe/serve/metrics_page.hpp"
#include "probe/serve/probe_requests.hpp"

namespace tarvik::monitoring_modules::probe {

/// @return the path if it is one of ours, "page" for the page's files, else "other"
[[nodiscard]] std::string route_class(const std::string& path);

/// Thread-safe.
class server_routes final {
  public:
    /// All must outlive this object.
    server_routes(
        const board& shown,
        language_shelf& languages,
        const metrics_page& metrics,
        probe_requests& probes
    )
        : board_{shown},
          languages_{languages},
          metrics_{metrics},
          probes_{probes} {}

    [[nodiscard]] http_answer answer(const http_request& request) const;

  private:
    [[nodiscard]] http_answer state(const http_request& request) const;
    [[nodiscard]] http_answer curves(const http_request& request) const;
    [[nodiscard]] http_answer ready() const;

    const board& board_;
    language_shelf& languages_;
    const metrics_page& metrics_;
    probe_requests& probes_;
};

} // namespace tarvik::monitoring_modules::probe
