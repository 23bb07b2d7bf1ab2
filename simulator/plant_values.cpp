#include "simulator/plant_values.hpp"

#include "simulator/plant_error.hpp"

#include <algorithm>
#include <array>
#include <string>

namespace tarvik::simulator {
namespace {

constexpr std::size_t longest_value_text = 40;

UA_LocalizedText borrow_localized(std::string_view locale, std::string_view text) {
    return {borrow(locale), borrow(text)};
}

/// As the stack writes it, but only texts are quoted, and a status has its name.
std::string printed(const void* value, const UA_DataType& type) {
    if (type.typeKind == UA_DATATYPEKIND_STATUSCODE) {
        return UA_StatusCode_name(*static_cast<const UA_StatusCode*>(value));
    }
    stack_string text;
    if (UA_print(value, &type, text.out()) != UA_STATUSCODE_GOOD) {
        return "?";
    }
    std::string_view shown = view(text.get());
    if (type.typeKind != UA_DATATYPEKIND_STRING && shown.size() >= 2 && shown.front() == '"') {
        shown = shown.substr(1, shown.size() - 2);
    }
    return std::string{shown};
}

/// On one line, and not cut within a UTF-8 character.
std::string shortened(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::erase(text, '\t');
    if (text.size() <= longest_value_text) {
        return text;
    }
    std::size_t end = longest_value_text;
    while ((static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end;
    }
    return text.substr(0, end) + "...";
}

} // namespace

variant value_of(std::string_view text) {
    return scalar(borrow(text), UA_TYPES_STRING);
}
variant null_string() {
    return scalar(UA_STRING_NULL, UA_TYPES_STRING);
}
variant byte_string(std::string_view bytes) {
    return scalar(borrow(bytes), UA_TYPES_BYTESTRING);
}
variant xml_element(std::string_view text) {
    return scalar(borrow(text), UA_TYPES_XMLELEMENT);
}
variant date_time(UA_DateTime time) {
    return scalar(time, UA_TYPES_DATETIME);
}
variant status_code(UA_StatusCode status) {
    return scalar(status, UA_TYPES_STATUSCODE);
}

variant localized_text(std::string_view locale, std::string_view text) {
    return scalar(borrow_localized(locale, text), UA_TYPES_LOCALIZEDTEXT);
}

variant qualified_name(std::uint16_t namespace_index, std::string_view name) {
    return scalar(UA_QualifiedName{namespace_index, borrow(name)}, UA_TYPES_QUALIFIEDNAME);
}

variant node_id_value(std::string_view text) {
    return scalar(parse_node_id(text).get(), UA_TYPES_NODEID);
}

variant expanded_node_id(std::string_view text, std::string_view namespace_uri) {
    const stack_node_id id = parse_node_id(text);
    return scalar(UA_ExpandedNodeId{id.get(), borrow(namespace_uri), 0}, UA_TYPES_EXPANDEDNODEID);
}

variant guid(std::string_view text) {
    UA_Guid value{};
    if (UA_Guid_parse(&value, borrow(text)) != UA_STATUSCODE_GOOD) {
        throw plant_error("not a GUID: " + std::string{text});
    }
    return scalar(value, UA_TYPES_GUID);
}

variant enum_value(std::int64_t value, std::string_view name, std::string_view note) {
    const UA_EnumValueType item{value, borrow_localized("en", name), borrow_localized("en", note)};
    return scalar(item, UA_TYPES_ENUMVALUETYPE);
}

variant range(double low, double high) {
    return scalar(UA_Range{low, high}, UA_TYPES_RANGE);
}

variant data_value(double value, UA_StatusCode status) {
    const variant inner = value_of(value);
    UA_DataValue item{};
    item.value = inner.get();
    item.hasValue = true;
    item.status = status;
    item.hasStatus = true;
    return scalar(item, UA_TYPES_DATAVALUE);
}

variant array_of_strings(const std::vector<std::string_view>& texts) {
    std::vector<UA_String> items;
    std::transform(texts.begin(), texts.end(), std::back_inserter(items), borrow);
    return array_of(items, UA_TYPES_STRING);
}

variant matrix(const std::vector<std::int32_t>& four_items) {
    const variant flat = array_of(four_items, UA_TYPES_INT32);
    std::array<UA_UInt32, 2> dimensions{2, 2};
    UA_Variant shaped = flat.get();
    shaped.arrayDimensions = dimensions.data();
    shaped.arrayDimensionsSize = dimensions.size();
    return variant{shaped};
}

variant array_of_variants(const std::vector<variant>& items) {
    std::vector<UA_Variant> borrowed;
    borrowed.reserve(items.size());
    for (const variant& item : items) {
        borrowed.push_back(item.get());
    }
    return array_of(borrowed, UA_TYPES_VARIANT);
}

stack_node_id parse_node_id(std::string_view text) {
    stack_node_id result;
    if (text.empty() || UA_NodeId_parse(result.out(), borrow(text)) != UA_STATUSCODE_GOOD) {
        throw plant_error("not a node id: " + std::string{text});
    }
    return result;
}

std::string canonical_node_id(std::string_view text) {
    const stack_node_id id = parse_node_id(text);
    stack_string printed_id;
    if (UA_NodeId_print(&id.get(), printed_id.out()) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return std::string{view(printed_id.get())};
}

std::string type_text(const UA_Variant& value) {
    if (value.type == nullptr) {
        return "-";
    }
    return value.type->typeName + std::string(UA_Variant_isScalar(&value) ? "" : "[]");
}

std::string value_text(const UA_Variant& value) {
    if (value.type == nullptr) {
        return "-";
    }
    if (UA_Variant_isScalar(&value)) {
        return shortened(printed(value.data, *value.type));
    }
    std::string result = "[";
    const auto* item = static_cast<const std::byte*>(value.data);
    for (std::size_t index = 0; index < value.arrayLength; ++index) {
        result += (index == 0 ? "" : ", ") + printed(item, *value.type);
        item += value.type->memSize;
    }
    return shortened(result + "]");
}

} // namespace tarvik::simulator
