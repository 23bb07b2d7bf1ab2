#pragma once
// What a server tells about the types of its variables: their names, and what the numbers of
// enumerations mean.

#include "explorer/node_requests.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Texts of numbers.
using enumeration = std::map<std::int64_t, std::string>;

/// @param property EnumStrings, the texts of 0, 1 and so on, or EnumValues, numbers with their
/// texts (OPC 10000-3, 5.8.3), as the server sent it
/// @return at most 1000 texts; none of what is neither
[[nodiscard]] enumeration read_enumeration(const UA_DataValue& property);

/// @return whether this is where a type or a variable has such texts
[[nodiscard]] bool has_texts(const UA_ReferenceDescription& reference);

/// Each type is asked for once.
class data_types final {
  public:
    /// @param requests must outlive this object
    explicit data_types(node_requests& requests) noexcept : requests_{requests} {}

    /// Asks the server about those that are not known yet, all at once.
    /// @throws as node_requests
    void learn(const std::vector<opcua::ua_node_id>& types);

    /// @param type that has been learnt
    /// @return empty for the null id
    [[nodiscard]] const std::string& name(const UA_NodeId& type) const;
    [[nodiscard]] const enumeration& texts(const UA_NodeId& type) const;

  private:
    struct data_type {
        std::string name;
        enumeration texts;
    };

    void learn_names(const std::vector<const UA_NodeId*>& types);
    void learn_texts(const std::vector<const UA_NodeId*>& types);
    [[nodiscard]] const data_type& at(const UA_NodeId& type) const;

    node_requests& requests_;
    std::map<std::string, data_type> known_; // by their ids
};

} // namespace tarvik::monitoring_modules::probe
