#pragma once
// Which request gets which answer.

#include "exporter/http/http_server.hpp"
#include "exporter/own_metrics.hpp"
#include "exporter/probe_requests.hpp"
#include "exporter/snapshot.hpp"
#include "host/module_document.hpp"
#include "host/monitoring_module.hpp"

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
    explicit language_cache(const monitoring_module& module) : module_{module} {}

    /// @param code such as "de"
    /// @return English for a language that the module does not have
    [[nodiscard]] std::shared_ptr<const module_document> find(const std::string& code);

  private:
    const monitoring_module& module_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const module_document>> documents_;
};

/// What answers are made of.
struct answer_sources {
    const snapshot_store& shown;
    const own_metrics& own;
    const time_source& time;
    language_cache& languages;
    probe_requests& probes;
};

/// Any threads may call it at once.
[[nodiscard]] http_answer answer_to(const http_request& request, const answer_sources& sources);

/// @return the path if it is one of ours, "page" for the page's files, else "other"
[[nodiscard]] std::string route_class(const std::string& path);

struct page_asset {
    std::string_view path; ///< "/style.css"
    std::string_view content_type;
    std::string_view bytes;
};

/// @return null for an unknown path; "/" is the page itself
[[nodiscard]] const page_asset* find_page_asset(std::string_view path) noexcept;

} // namespace tarvik::monitoring_modules::probe
