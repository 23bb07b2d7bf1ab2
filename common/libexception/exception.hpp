#pragma once

// The root of all exceptions of this code base: a text and nothing else.
//
// Copies share the text, so copying while unwinding cannot throw.

#include <exception>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::libexception {

class exception : public std::exception {
  public:
    /// @param text what `what()` gives; English, for people.
    explicit exception(std::string text);

    [[nodiscard]] const char* what() const noexcept override;

  private:
    std::shared_ptr<const std::string> text_;
};

/// Gives a class derived from T the constructors of T: `class x : public _exception<T>`.
template <typename T>
class _exception : public T {
  public:
    using T::T;
};

} // namespace tarvik::monitoring_modules::libexception
