#include "opcua/nodes/nodes_open62541.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/nodes/node_failure.hpp"

#include <utility>

namespace tarvik::monitoring_modules::opcua {

namespace {

template <typename NotSet>
std::string known(const std::optional<std::string>& text) {
    if (!text) {
        throw NotSet{};
    }
    return *text;
}

std::string text_of(const UA_Variant& value) {
    return value.type == nullptr ? std::string{} : element_as_string(value, 0);
}

template <typename T>
ua_variant scalar_variant(const T& value, std::size_t type_index) {
    ua_variant variant;
    if (UA_Variant_setScalarCopy(variant.out(), &value, &UA_TYPES[type_index]) !=
        UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return variant;
}

} // namespace

generic_node_open62541::generic_node_open62541(const std::string& node_id)
    : generic_node_open62541{parse_node_id(node_id), node_id} {}

generic_node_open62541::generic_node_open62541(ua_node_id node_id, std::string entered_id)
    : node_id_{std::move(node_id)},
      entered_id_{std::move(entered_id)} {}

std::string generic_node_open62541::identifier_text() const {
    return opcua::identifier_text(*node_id_);
}

std::string generic_node_open62541::browse_name() const {
    return known<exceptions::browse_name_not_set>(browse_name_);
}

std::string generic_node_open62541::display_name() const {
    return known<exceptions::display_name_not_set>(display_name_);
}

std::string generic_node_open62541::description() const {
    return known<exceptions::description_not_set>(description_);
}

attribute_list generic_node_open62541::attributes_to_read() const {
    attribute_list attributes;
    if (!browse_name_) {
        attributes.add(attribute_id::browse_name);
    }
    if (!display_name_) {
        attributes.add(attribute_id::display_name);
    }
    if (!description_) {
        attributes.add(attribute_id::description);
    }
    return attributes;
}

void generic_node_open62541::set_attribute(attribute_id id, ua_variant value) {
    switch (id) {
    case attribute_id::browse_name:
        browse_name_ = text_of(*value);
        return;
    case attribute_id::display_name:
        display_name_ = text_of(*value);
        return;
    case attribute_id::description:
        description_ = text_of(*value);
        return;
    default:
        throw exceptions::unsupported_attribute_type{};
    }
}

value_kind variable_node_open62541::data_type() const {
    return for_node(entered_id(), [this] { return kind_of(*value_); });
}

template <typename Convert>
auto variable_node_open62541::converted(const Convert& convert) const {
    return for_node(entered_id(), [&] {
        if (value_->type == nullptr) {
            throw exceptions::value_not_set{};
        }
        check_shape(*value_);
        return convert(*value_, index_);
    });
}

std::string variable_node_open62541::value_as_string() const {
    return converted(element_as_string);
}

std::int64_t variable_node_open62541::value_as_int64() const {
    return converted(element_as_int64);
}

double variable_node_open62541::value_as_double() const {
    return converted(element_as_double);
}

bool variable_node_open62541::value_as_bool() const {
    return converted(element_as_bool);
}

attribute_list variable_node_open62541::attributes_to_read() const {
    attribute_list attributes = generic_node_open62541::attributes_to_read();
    attributes.add(attribute_id::value);
    return attributes;
}

void variable_node_open62541::set_attribute(attribute_id id, ua_variant value) {
    if (id == attribute_id::value) {
        value_ = std::move(value);
    } else {
        generic_node_open62541::set_attribute(id, std::move(value));
    }
}

scalar_variable_node_open62541::scalar_variable_node_open62541(const std::string& node_id)
    : generic_node_open62541{node_id},
      variable_node_open62541{0} {}

void scalar_variable_node_open62541::check_shape(const UA_Variant& value) const {
    if (!is_scalar(value)) {
        throw exceptions::value_not_scalar{};
    }
}

void scalar_variable_node_open62541::set_value(const std::string& value) {
    value_ = scalar_variant(borrowed(value), UA_TYPES_STRING);
}

void scalar_variable_node_open62541::set_value(std::int64_t value) {
    value_ = scalar_variant(UA_Int64{value}, UA_TYPES_INT64);
}

void scalar_variable_node_open62541::set_value(double value) {
    value_ = scalar_variant(UA_Double{value}, UA_TYPES_DOUBLE);
}

void scalar_variable_node_open62541::set_value(bool value) {
    value_ = scalar_variant(UA_Boolean{value}, UA_TYPES_BOOLEAN);
}

array_variable_node_open62541::array_variable_node_open62541(const std::string& node_id)
    : array_variable_node_open62541{parse_array_node_id(node_id), node_id} {}

array_variable_node_open62541::array_variable_node_open62541(
    array_element_id element, const std::string& entered_id
)
    : generic_node_open62541{std::move(element.node), entered_id},
      variable_node_open62541{element.index} {}

void array_variable_node_open62541::check_shape(const UA_Variant&) const {
    // Every shape is looked at element by element: the conversion checks the index.
}

std::unique_ptr<readable_variable_node_interface> make_readable_node(const std::string& node_id) {
    if (is_array_node_id(node_id)) {
        return std::make_unique<array_variable_node_open62541>(node_id);
    }
    return std::make_unique<scalar_variable_node_open62541>(node_id);
}

std::unique_ptr<writeable_variable_node_interface> make_writeable_node(const std::string& node_id) {
    return std::make_unique<scalar_variable_node_open62541>(node_id);
}

std::unique_ptr<generic_node_interface> make_generic_node(const std::string& node_id) {
    return std::make_unique<generic_node_open62541>(node_id);
}

} // namespace tarvik::monitoring_modules::opcua
