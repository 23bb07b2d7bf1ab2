#pragma once

// The module object: built by InitializeModule, it has everything registered once its constructor
// has returned.

#include "zunohelper/module_instance.hpp"
#include "zunohelper/preparation.hpp"

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules {

class ZunoModuleOPCUA final : public libzunohelper::module_instance {
  public:
    /// @throws std::invalid_argument for a null callback; the errors of the registrations.
    ZunoModuleOPCUA(std::uint64_t context, libzunohelper::probe_callback callback);

    /// The module information document.
    [[nodiscard]] std::string get_module_information() const override;

  private:
    libzunohelper::preparation preparation_; // gone before the services
};

} // namespace tarvik::monitoring_modules
