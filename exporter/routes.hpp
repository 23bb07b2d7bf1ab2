#pragma once
// Which request gets which answer.

#include "exporter/http/http_message.hpp"
#include "exporter/metrics_answer.hpp"
#include "exporter/module_access.hpp"
#include "exporter/probe_requests.hpp"
#include "exporter/snapshot.hpp"
#include "host/module_document.hpp"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. Documents stay for the life of this object; there are no more than languages.
class language_cache final {
  public:
    /// @param module must outlive this object
    explicit language_cache(const called_module& module) : module_{module} {}

    /// @param code such as "de"
    /// @return English for a language that the module does not have
    [[nodiscard]] std::shared_ptr<const module_document> find(const std::string& code);

  private:
    const called_module& module_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const module_document>> documents_;
};

/// @return the path if it is one of ours, "page" for the page's files, else "other"
[[nodiscard]] std::string route_class(const std::string& path);

/// Thread-safe.
class request_routes final {
  public:
    /// All must outlive this object.
    request_routes(
        const snapshot_store& shown,
        language_cache& languages,
        const metrics_answer& metrics,
        probe_requests& probes
    )
        : store_{shown},
          languages_{languages},
          metrics_{metrics},
          probes_{probes} {}

    [[nodiscard]] http_answer answer(const http_request& request) const;

  private:
    [[nodiscard]] http_answer state(const http_request& request) const;
    [[nodiscard]] http_answer curves(const http_request& request) const;
    [[nodiscard]] http_answer ready() const;

    const snapshot_store& store_;
    language_cache& languages_;
    const metrics_answer& metrics_;
    probe_requests& probes_;
};

struct page_asset {
    std::string_view path; ///< "/style.css"
    std::string_view content_type;
    std::string_view bytes;
};

/// @return null for an unknown path; "/" is the page itself
[[nodiscard]] const page_asset* find_page_asset(std::string_view path) noexcept;

} // namespace tarvik::monitoring_modules::probe
