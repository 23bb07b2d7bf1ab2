#pragma once

// The root of all exceptions of this code base: a text and nothing else.
//
// Copies share the text, so copying while unwinding cannot throw.

#include <exception>
#include <memory>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libexception {

class exception : public std::exception {
  public:
    /// @param text what `what()` gives; English, for people.
    explicit exception(std::string text);

    /// The text up to its first zero byte: see text_of.
    [[nodiscard]] const char* what() const noexcept override;

    [[nodiscard]] const std::string& text() const noexcept { return *text_; }

  private:
    std::shared_ptr<const std::string> text_;
};

/// The whole text of an exception. Texts of ours may quote settings, which may hold zero bytes,
/// where what() would end.
/// @return valid as long as the exception.
[[nodiscard]] std::string_view text_of(const std::exception& error) noexcept;

/// Gives a class derived from T the constructors of T: `class x : public _exception<T>`.
template <typename T>
class _exception : public T {
  public:
    using T::T;
};

} // namespace tarvik::monitoring_modules::libexception
