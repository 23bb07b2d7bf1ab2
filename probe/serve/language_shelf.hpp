#pragma once
// What the module tells about itself, in each language that somebody has asked for.

#include "host/module_document.hpp"
#include "host/monitoring_module.hpp"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. Documents stay for the life of this object; there are no more than languages.
class language_shelf final {
  public:
    /// @param module must outlive this object
    explicit language_shelf(const monitoring_module& module) : module_{module} {}

    /// @param code such as "de"
    /// @return English for a language that the module does not have
    [[nodiscard]] std::shared_ptr<const module_document> find(const std::string& code);

  private:
    const monitoring_module& module_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const module_document>> documents_;
};

} // namespace tarvik::monitoring_modules::probe
