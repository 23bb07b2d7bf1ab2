#pragma once

// A text that is kept secret: its memory is overwritten with zeros before it is given back.
//
// The text always stands in a heap buffer of its own, never inside the object, so that neither a
// moved-from object nor a former place of the object on a stack holds a part of it.

#include "zunohelper/export.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper {

/// Threads: like std::string; one object is not shared by threads that change it.
class ZUNOHELPER_API secure_string {
  public:
    secure_string() noexcept = default;

    /// @param text copied; any bytes. Wiping the original is the caller's business.
    explicit secure_string(std::string_view text);

    secure_string(const secure_string& other);
    secure_string(secure_string&& other) noexcept;
    /// What the target held before is wiped; when copying throws, the target keeps it.
    secure_string& operator=(const secure_string& other);
    secure_string& operator=(secure_string&& other) noexcept;
    ~secure_string();

    /// @return the text; valid until this object is changed or destroyed.
    [[nodiscard]] std::string_view view() const noexcept { return {data_.get(), size_}; }

    /// @return an ordinary copy, which nobody wipes: for interfaces that take nothing else.
    [[nodiscard]] std::string str() const { return std::string{view()}; }

    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }

    /// @return the length in bytes.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }

    /// Wipes the text; the object is empty afterwards.
    void clear() noexcept;

    /// Compares in a time that depends on the lengths only, not on where the texts differ.
    [[nodiscard]] friend bool
    operator==(const secure_string& left, const secure_string& right) noexcept {
        return left.equals(right);
    }

  private:
    [[nodiscard]] bool equals(const secure_string& other) const noexcept;

    std::unique_ptr<char[]> data_; // size_ bytes
    std::size_t size_ = 0;
};

} // namespace tarvik::monitoring_modules::libzunohelper
