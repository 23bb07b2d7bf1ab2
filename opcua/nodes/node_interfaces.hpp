#pragma once

// What a node object is to those who use it: something with a NodeId that asks for attributes,
// takes what the server returns for them, and gives its value as one of the four kinds (see
// value_conversion.hpp).
//
// A node object has one owner and is used by one thread at a time.

#include "opcua/nodes/value_conversion.hpp"
#include "opcua/ua_value.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// Attribute ids of OPC 10000-6, A.1, as far as node objects use them.
enum class attribute_id : std::uint32_t {
    browse_name = UA_ATTRIBUTEID_BROWSENAME,   // 3
    display_name = UA_ATTRIBUTEID_DISPLAYNAME, // 4
    description = UA_ATTRIBUTEID_DESCRIPTION,  // 5
    value = UA_ATTRIBUTEID_VALUE,              // 13
};

/// A list of at most four attribute ids that needs no memory of its own.
class attribute_list {
  public:
    void add(attribute_id id) { ids_.at(size_++) = id; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] const attribute_id* begin() const noexcept { return ids_.data(); }
    [[nodiscard]] const attribute_id* end() const noexcept { return ids_.data() + size_; }

  private:
    std::array<attribute_id, 4> ids_{};
    std::size_t size_{0};
};

class generic_node_interface {
  public:
    generic_node_interface() = default;
    generic_node_interface(const generic_node_interface&) = delete;
    generic_node_interface& operator=(const generic_node_interface&) = delete;
    virtual ~generic_node_interface() = default;

    /// Whether the node has a value that can be read: true for readable variables.
    [[nodiscard]] virtual bool is_readable() const noexcept { return false; }

    /// The node's id; owned by the node.
    [[nodiscard]] virtual const UA_NodeId& node_id() const noexcept = 0;

    /// See opcua::identifier_text.
    [[nodiscard]] virtual std::string identifier_text() const = 0;

    /// @throws exceptions::browse_name_not_set while unknown.
    [[nodiscard]] virtual std::string browse_name() const = 0;
    /// @throws exceptions::display_name_not_set while unknown.
    [[nodiscard]] virtual std::string display_name() const = 0;
    /// @throws exceptions::description_not_set while unknown.
    [[nodiscard]] virtual std::string description() const = 0;

    /// What is to be read next: BrowseName, DisplayName and Description as long as they are
    /// unknown, in this order; for variables then always Value.
    [[nodiscard]] virtual attribute_list attributes_to_read() const = 0;

    /// Takes what the server returned for one attribute. A name or description without a value
    /// counts as known and empty.
    /// @param value handed over; on an exception the node is as before.
    /// @throws exceptions::unsupported_attribute_type for an attribute that the node does not ask
    /// for.
    /// @throws exceptions::data_type_mismatch for a name or description that is no text.
    virtual void set_attribute(attribute_id id, ua_variant value) = 0;

    /// The NodeID as its user wrote it, also where it names an element of an array; owned by the
    /// node.
    [[nodiscard]] virtual const std::string& entered_id() const noexcept = 0;
};

/// A variable whose value is read. The value accessors throw value_not_set before the first value
/// and when the last request brought none. The detail of their errors names the node.
class readable_variable_node_interface : public virtual generic_node_interface {
  public:
    [[nodiscard]] bool is_readable() const noexcept final { return true; }

    /// The kind of the value that was read last.
    [[nodiscard]] virtual value_kind data_type() const = 0;

    /// @throws exceptions::value_not_scalar when a plain NodeID names an array.
    /// @throws exceptions::not_an_array, index_out_of_bounds when the array form does not fit the
    /// value.
    [[nodiscard]] virtual std::string value_as_string() const = 0;
    [[nodiscard]] virtual std::int64_t value_as_int64() const = 0;
    [[nodiscard]] virtual double value_as_double() const = 0;
    [[nodiscard]] virtual bool value_as_bool() const = 0;
};

/// A variable whose value is written: set it here, then hand the node to the client.
class writeable_variable_node_interface : public virtual generic_node_interface {
  public:
    virtual void set_value(const std::string& value) = 0;
    virtual void set_value(std::int64_t value) = 0;
    virtual void set_value(double value) = 0;
    virtual void set_value(bool value) = 0;

    /// What is to be written; owned by the node.
    [[nodiscard]] virtual const UA_Variant& value_to_write() const noexcept = 0;
};

} // namespace tarvik::monitoring_modules::opcua
