#include "simulator/address_space.hpp"

#include "simulator/plant_error.hpp"
#include "simulator/plant_values.hpp"

#include <open62541/nodeids.h>

namespace tarvik::simulator {
namespace {

void require(UA_StatusCode status, const std::string& what) {
    if (status != UA_STATUSCODE_GOOD) {
        throw plant_error(what + ": " + UA_StatusCode_name(status));
    }
}

UA_NodeId standard(UA_UInt32 id) {
    return UA_NODEID_NUMERIC(0, id);
}

/// A browse name may not be empty: a node without texts is called by its identifier.
std::string browse_name(const plant_row& row) {
    const std::size_t identifier = row.node_id.find('=', row.node_id.find(';')) + 1;
    return row.display_name.empty() ? row.node_id.substr(identifier) : row.display_name;
}

UA_LocalizedText text_of(std::string_view text) {
    return text.empty() ? UA_LocalizedText{} : UA_LocalizedText{{}, borrow(text)};
}

} // namespace

void address_space::add_namespace(const char* uri, std::uint16_t index) {
    if (UA_Server_addNamespace(&server_, uri) != index) {
        throw plant_error(std::string{"namespace out of order: "} + uri);
    }
}

stack_node_id address_space::folder(UA_UInt16 namespace_index, const std::string& name) {
    stack_node_id id = parse_node_id("ns=" + std::to_string(namespace_index) + ";s=" + name);
    if (!folders_.emplace(namespace_index, name).second) {
        return id;
    }
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = text_of(name);
    require(
        UA_Server_addObjectNode(
            &server_,
            id.get(),
            standard(UA_NS0ID_OBJECTSFOLDER),
            standard(UA_NS0ID_ORGANIZES),
            UA_QualifiedName{namespace_index, borrow(name)},
            standard(UA_NS0ID_FOLDERTYPE),
            attributes,
            nullptr,
            nullptr
        ),
        name
    );
    return id;
}

void address_space::add_variable(plant_node& node) {
    const plant_row& row = node.declared();
    const UA_Variant& value = row.value.get();
    const std::string display_name = node.display_name();
    const std::string description = node.description();
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = text_of(display_name);
    attributes.description = text_of(description);
    attributes.dataType =
        value.type == nullptr ? standard(UA_NS0ID_BASEDATATYPE) : value.type->typeId;
    std::vector<UA_UInt32> any_length;
    if (value.type != nullptr && !UA_Variant_isScalar(&value)) {
        any_length.assign(value.arrayDimensionsSize == 0 ? 1 : value.arrayDimensionsSize, 0);
        attributes.valueRank = static_cast<UA_Int32>(any_length.size());
        attributes.arrayDimensions = any_length.data();
        attributes.arrayDimensionsSize = any_length.size();
    } else if (value.type != nullptr) {
        attributes.valueRank = UA_VALUERANK_SCALAR;
    }
    const bool writable = row.client_access == access::read_write;
    attributes.accessLevel =
        static_cast<UA_Byte>(UA_ACCESSLEVELMASK_READ | (writable ? UA_ACCESSLEVELMASK_WRITE : 0));
    const stack_node_id id = parse_node_id(row.node_id);
    const stack_node_id parent = folder(id->namespaceIndex, row.folder);
    const std::string name = browse_name(row);
    require(
        UA_Server_addDataSourceVariableNode(
            &server_,
            id.get(),
            parent.get(),
            standard(UA_NS0ID_HASCOMPONENT),
            UA_QualifiedName{id->namespaceIndex, borrow(name)},
            standard(UA_NS0ID_BASEDATAVARIABLETYPE),
            attributes,
            plant_node::data_source(),
            &node,
            nullptr
        ),
        row.node_id
    );
    if (display_name.empty()) {
        set_display_name(id.get(), {}); // the stack has put the browse name there
    }
    if (row.measured_in.name[0] != '\0') {
        add_unit(id.get(), row.measured_in);
    }
}

void address_space::add_unit(const UA_NodeId& variable, const unit& measured_in) {
    UA_EUInformation information{};
    information.namespaceUri = borrow("http://www.opcfoundation.org/UA/units/un/cefact");
    for (const char letter : std::string_view{measured_in.code}) { // OPC 10000-8, 5.6.4.3
        information.unitId = information.unitId * 256 + letter;
    }
    information.displayName = text_of(measured_in.name);
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = text_of("EngineeringUnits");
    attributes.dataType = UA_TYPES[UA_TYPES_EUINFORMATION].typeId;
    attributes.valueRank = UA_VALUERANK_SCALAR;
    UA_Variant_setScalar(&attributes.value, &information, &UA_TYPES[UA_TYPES_EUINFORMATION]);
    require(
        UA_Server_addVariableNode(
            &server_,
            UA_NodeId{variable.namespaceIndex, UA_NODEIDTYPE_NUMERIC, {0}}, // any free one
            variable,
            standard(UA_NS0ID_HASPROPERTY),
            UA_QualifiedName{0, borrow("EngineeringUnits")},
            standard(UA_NS0ID_PROPERTYTYPE),
            attributes,
            nullptr,
            nullptr
        ),
        "unit"
    );
}

void address_space::take_over(plant_node& node) {
    const std::string& text = node.declared().node_id;
    const stack_node_id id = parse_node_id(text);
    require(UA_Server_setNodeContext(&server_, id.get(), &node), text);
    require(
        UA_Server_setVariableNode_dataSource(&server_, id.get(), plant_node::data_source()), text
    );
}

void address_space::set_display_name(const UA_NodeId& id, std::string_view text) {
    require(UA_Server_writeDisplayName(&server_, id, text_of(text)), "display name");
}

void address_space::set_description(const UA_NodeId& id, std::string_view text) {
    require(UA_Server_writeDescription(&server_, id, text_of(text)), "description");
}

} // namespace tarvik::simulator
