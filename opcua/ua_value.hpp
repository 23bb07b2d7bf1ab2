#pragma once

// Owners for the values of the OPC UA stack: the only place where a stack value is cleared.
//
// ua_value<T, Index> holds a T of the stack's type table by value. It starts empty, clears what it
// holds when it is destroyed or assigned, moves cheaply and copies only when asked to. Not for
// sharing between threads.

#include <cstddef>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <open62541/types.h>
#include <open62541/types_generated.h>
#include <open62541/types_generated_handling.h>

namespace tarvik::monitoring_modules::opcua {

template <typename T, std::size_t TypeIndex>
class ua_value {
  public:
    ua_value() noexcept = default;

    /// Takes over what a stack function returned by value.
    explicit ua_value(T owned) noexcept : value_{owned} {}

    ua_value(ua_value&& other) noexcept : value_{other.release()} {}
    ua_value& operator=(ua_value&& other) noexcept {
        std::swap(value_, other.value_); // which clears what this held when it ends
        return *this;
    }
    ua_value(const ua_value&) = delete;
    ua_value& operator=(const ua_value&) = delete;
    ~ua_value() { clear(); }

    [[nodiscard]] static const UA_DataType* type() noexcept { return &UA_TYPES[TypeIndex]; }

    /// A deep copy of a value that somebody else owns.
    /// @throws std::bad_alloc when there is no memory for it.
    [[nodiscard]] static ua_value copy_of(const T& source) {
        ua_value copy;
        if (UA_copy(&source, &copy.value_, type()) != UA_STATUSCODE_GOOD) {
            throw std::bad_alloc{};
        }
        return copy;
    }

    [[nodiscard]] const T& operator*() const noexcept { return value_; }
    [[nodiscard]] T& operator*() noexcept { return value_; }
    [[nodiscard]] const T* operator->() const noexcept { return &value_; }
    [[nodiscard]] T* operator->() noexcept { return &value_; }

    /// Empties the value and gives its address to a stack function that fills it.
    [[nodiscard]] T* out() noexcept {
        clear();
        return &value_;
    }

    void clear() noexcept { UA_clear(&value_, type()); }

    /// Gives the value up: the caller, or the stack structure it is stored in, owns it now.
    [[nodiscard]] T release() noexcept { return std::exchange(value_, T{}); }

  private:
    T value_{}; // as UA_init() leaves it
};

using ua_string = ua_value<UA_String, UA_TYPES_STRING>;
using ua_node_id = ua_value<UA_NodeId, UA_TYPES_NODEID>;
using ua_variant = ua_value<UA_Variant, UA_TYPES_VARIANT>;
using ua_endpoint_description = ua_value<UA_EndpointDescription, UA_TYPES_ENDPOINTDESCRIPTION>;
using ua_get_endpoints_response = ua_value<UA_GetEndpointsResponse, UA_TYPES_GETENDPOINTSRESPONSE>;
using ua_read_response = ua_value<UA_ReadResponse, UA_TYPES_READRESPONSE>;
using ua_user_token_policy = ua_value<UA_UserTokenPolicy, UA_TYPES_USERTOKENPOLICY>;
using ua_user_name_token = ua_value<UA_UserNameIdentityToken, UA_TYPES_USERNAMEIDENTITYTOKEN>;

/// The bytes of a stack string, valid as long as the string; a null string gives an empty text.
[[nodiscard]] inline std::string_view view_of(const UA_String& text) noexcept {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

/// A stack string that borrows the bytes of a text: never to be cleared, valid as long as the text.
[[nodiscard]] inline UA_String borrowed(std::string_view text) noexcept {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

/// A stack string with its own copy of the bytes (the empty text becomes an empty, not a null
/// string).
/// @throws std::bad_alloc
[[nodiscard]] inline ua_string make_ua_string(std::string_view text) {
    return ua_string::copy_of(borrowed(text));
}

/// Replaces a string inside a stack structure.
inline void assign(UA_String& target, std::string_view text) {
    ua_string copy = make_ua_string(text);
    UA_String_clear(&target);
    target = copy.release();
}

/// Replaces a value inside a stack structure.
template <typename T, std::size_t TypeIndex>
void assign(T& target, ua_value<T, TypeIndex> value) noexcept {
    UA_clear(&target, value.type());
    target = value.release();
}

/// The elements of an array inside a stack structure; empty for the stack's null and empty-array
/// marks.
template <typename T>
[[nodiscard]] std::span<T> elements(T* array, std::size_t size) noexcept {
    return size == 0 ? std::span<T>{} : std::span<T>{array, size};
}

} // namespace tarvik::monitoring_modules::opcua
