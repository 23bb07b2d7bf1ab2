#include "module/zuno_module_opcua.hpp"

#include "module/information/document.hpp"
#include "module/registrations.hpp"

namespace tarvik::monitoring_modules {

ZunoModuleOPCUA::ZunoModuleOPCUA(std::uint64_t context, libzunohelper::probe_callback callback)
    : module_instance{context, callback} {
    register_services(*service_container());
    register_sensors(*dispatcher());
    register_checks(*dispatcher());
    register_notifications(*dispatcher());
}

std::string ZunoModuleOPCUA::get_module_information() const {
    return information_document();
}

} // namespace tarvik::monitoring_modules
