// The store of instances, and the container that is made of it.

#include "zunohelper/instance_store.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "zunohelper/service_container.hpp"

namespace tarvik::monitoring_modules::libzunohelper {

instance_wrapper_base::~instance_wrapper_base() = default;

instance_store::instance_store() = default;
instance_store::~instance_store() = default;

void instance_store::insert(std::type_index type, std::unique_ptr<instance_wrapper_base> wrapper) {
    if (!wrappers_.try_emplace(type, std::move(wrapper)).second) {
        throw utils::exceptions::already_contains_instance{type.name()};
    }
}

instance_wrapper_base* instance_store::find_wrapper(std::type_index type) const {
    const auto found = wrappers_.find(type);
    return found == wrappers_.end() ? nullptr : found->second.get();
}

service_container::service_container() = default;
service_container::~service_container() = default;

} // namespace tarvik::monitoring_modules::libzunohelper
