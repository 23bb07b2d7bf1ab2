#include "zunohelper/service_container.hpp"

namespace tarvik::monitoring_modules::libzunohelper {

service_container::service_container() = default;
service_container::~service_container() = default;

} // namespace tarvik::monitoring_modules::libzunohelper
