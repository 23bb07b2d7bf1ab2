#pragma once

// The node objects on the OPC UA stack, and the factory functions that the module registers for
// them.

#include "opcua/nodes/node_id.hpp"
#include "opcua/nodes/node_interfaces.hpp"

#include <memory>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// Knows a node's names and description.
class generic_node_open62541 : public virtual generic_node_interface {
  public:
    /// @param node_id a plain NodeID text.
    /// @throws exceptions::failed_to_parse_node_id
    explicit generic_node_open62541(const std::string& node_id);

    /// @param entered_id what the id was read from.
    generic_node_open62541(ua_node_id node_id, std::string entered_id);

    [[nodiscard]] const UA_NodeId& node_id() const noexcept override { return *node_id_; }
    [[nodiscard]] std::string identifier_text() const override;
    [[nodiscard]] std::string browse_name() const override;
    [[nodiscard]] std::string display_name() const override;
    [[nodiscard]] std::string description() const override;
    [[nodiscard]] attribute_list attributes_to_read() const override;
    void set_attribute(attribute_id id, ua_variant value) override;
    [[nodiscard]] const std::string& entered_id() const noexcept override { return entered_id_; }

  private:
    ua_node_id node_id_;
    std::string entered_id_;
    std::optional<std::string> display_name_;
    std::optional<std::string> description_;
    std::optional<std::string> browse_name_;
};

/// What scalar and array variables have in common: the last value, read as the element at `index`.
class variable_node_open62541 : public readable_variable_node_interface,
                                public virtual generic_node_open62541 {
  public:
    [[nodiscard]] value_kind data_type() const override;
    [[nodiscard]] std::string value_as_string() const override;
    [[nodiscard]] std::int64_t value_as_int64() const override;
    [[nodiscard]] double value_as_double() const override;
    [[nodiscard]] bool value_as_bool() const override;
    [[nodiscard]] attribute_list attributes_to_read() const override;
    void set_attribute(attribute_id id, ua_variant value) override;

  protected:
    explicit variable_node_open62541(std::int64_t index) : index_{index} {}

    /// Throws unless the value has the shape, scalar or array, that the NodeID text asks for.
    virtual void check_shape(const UA_Variant& value) const = 0;

    ua_variant value_;

  private:
    /// @param convert makes something of the value, which is there and has the right shape.
    template <typename Convert>
    [[nodiscard]] auto converted(const Convert& convert) const;

    std::int64_t index_;
};

/// A single value, readable and writeable.
class scalar_variable_node_open62541 final : public variable_node_open62541,
                                             public writeable_variable_node_interface {
  public:
    /// @param node_id a plain NodeID text.
    /// @throws exceptions::failed_to_parse_node_id
    explicit scalar_variable_node_open62541(const std::string& node_id);

    void set_value(const std::string& value) override;
    void set_value(std::int64_t value) override;
    void set_value(double value) override;
    void set_value(bool value) override;
    [[nodiscard]] const UA_Variant& value_to_write() const noexcept override { return *value_; }

  private:
    void check_shape(const UA_Variant& value) const override;
};

/// One element of an array, readable.
///
/// Element 0 of a variable that turns out to be a single value is that value; any other element of
/// it is an error.
class array_variable_node_open62541 final : public variable_node_open62541 {
  public:
    /// @param node_id a NodeID text in the array form.
    /// @throws as parse_array_node_id
    explicit array_variable_node_open62541(const std::string& node_id);

  private:
    array_variable_node_open62541(array_element_id element, const std::string& entered_id);

    void check_shape(const UA_Variant& value) const override;
};

/// @name Factories
/// @param node_id a NodeID text; make_readable_node takes the array form too.
/// @throws as the constructors
/// @{
[[nodiscard]] std::unique_ptr<readable_variable_node_interface>
make_readable_node(const std::string& node_id);
[[nodiscard]] std::unique_ptr<writeable_variable_node_interface>
make_writeable_node(const std::string& node_id);
[[nodiscard]] std::unique_ptr<generic_node_interface> make_generic_node(const std::string& node_id);
/// @}

} // namespace tarvik::monitoring_modules::opcua
