#include "module/zuno_module_opcua.hpp"

#include "module/export_call.hpp"
#include "module/information/document.hpp"
#include "module/registrations.hpp"

#include <stdexcept>

namespace tarvik::monitoring_modules {

ZunoModuleOPCUA::ZunoModuleOPCUA(std::uint64_t context, libzunohelper::probe_callback callback)
    : module_instance{context, callback},
      preparation_{[this] {
          const export_call call; // so that neither a cancel nor the end of the process cuts it off
          if (!call.admitted()) {
              throw std::logic_error{"The library is ending."};
          }
          prepare_client(*service_container());
      }} {
    register_services(*service_container());
    register_sensors(*dispatcher());
    register_checks(*dispatcher());
    register_notifications(*dispatcher());
}

std::string ZunoModuleOPCUA::get_module_information() const {
    return information_document();
}

} // namespace tarvik::monitoring_modules
