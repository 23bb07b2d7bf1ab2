#include "zunohelper/factory_store.hpp"

#include "common/catalogue/framework_exceptions.hpp"

namespace tarvik::monitoring_modules::libzunohelper {

factory_wrapper_base::~factory_wrapper_base() = default;

factory_store::factory_store() = default;
factory_store::~factory_store() = default;

void factory_store::insert(std::type_index type, std::unique_ptr<factory_wrapper_base> wrapper) {
    if (!factories_.try_emplace(type, std::move(wrapper)).second) {
        throw utils::exceptions::already_contains_factory{type.name()};
    }
}

const factory_wrapper_base& factory_store::at(std::type_index type) const {
    const auto found = factories_.find(type);
    if (found == factories_.end()) {
        throw utils::exceptions::factory_not_available{type.name()};
    }
    return *found->second;
}

} // namespace tarvik::monitoring_modules::libzunohelper
