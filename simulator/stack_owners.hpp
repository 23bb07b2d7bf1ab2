#pragma once
// Owners of what the OPC UA stack hands out: one for values of its data types, one for the server.

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <open62541/server.h>
#include <open62541/types.h>
#include <open62541/types_generated.h>
#include <open62541/types_generated_handling.h>

namespace tarvik::simulator {

/// Owns one value of a stack type with all it points to. Copies are deep, a moved-from value is
/// null.
/// @tparam Type the C struct, Index its place in UA_TYPES
template <typename Type, std::size_t Index>
class stack_value final {
  public:
    stack_value() noexcept { UA_init(&value_, &UA_TYPES[Index]); }
    /// @throws std::bad_alloc when the copy cannot be made
    explicit stack_value(const Type& source) : stack_value() {
        if (UA_copy(&source, &value_, &UA_TYPES[Index]) != UA_STATUSCODE_GOOD) {
            throw std::bad_alloc{};
        }
    }
    stack_value(const stack_value& other) : stack_value(other.value_) {}
    stack_value(stack_value&& other) noexcept : stack_value() { std::swap(value_, other.value_); }
    stack_value& operator=(stack_value other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~stack_value() { UA_clear(&value_, &UA_TYPES[Index]); }

    [[nodiscard]] const Type& get() const noexcept { return value_; }
    [[nodiscard]] const Type* operator->() const noexcept { return &value_; }
    /// For functions that fill an out-parameter: what was owned before is released.
    [[nodiscard]] Type* out() noexcept {
        UA_clear(&value_, &UA_TYPES[Index]);
        return &value_;
    }
    /// Hands the value over to somebody who releases it.
    [[nodiscard]] Type release() noexcept {
        Type result = value_;
        UA_init(&value_, &UA_TYPES[Index]);
        return result;
    }

  private:
    Type value_;
};

using variant = stack_value<UA_Variant, UA_TYPES_VARIANT>;
using stack_node_id = stack_value<UA_NodeId, UA_TYPES_NODEID>;
using stack_string = stack_value<UA_String, UA_TYPES_STRING>;

struct server_deleter {
    void operator()(UA_Server* server) const noexcept { UA_Server_delete(server); }
};
using server_ptr = std::unique_ptr<UA_Server, server_deleter>;

/// Borrowed view in both directions; the stack never writes through it.
[[nodiscard]] inline UA_String borrow(std::string_view text) noexcept {
    // A null pointer would be a null string, which is not the same as an empty one.
    const char* data = text.data() == nullptr ? "" : text.data();
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the C struct has no const form
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(data))};
}
[[nodiscard]] inline std::string_view view(const UA_String& text) noexcept {
    return text.data == nullptr
               ? std::string_view{}
               : std::string_view{reinterpret_cast<const char*>(text.data), text.length};
}

/// A copy of a C++ value as the stack's scalar of the given type.
template <typename Type>
[[nodiscard]] variant scalar(const Type& value, std::size_t type_index) {
    variant result;
    if (UA_Variant_setScalarCopy(result.out(), &value, &UA_TYPES[type_index]) !=
        UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return result;
}

} // namespace tarvik::simulator
