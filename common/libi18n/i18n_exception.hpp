#pragma once

// An exception that carries a message for users. `what()` gives its English text; a scan result
// made from it takes the whole message, so that the user sees the text in their language.

#include "common/libexception/exception.hpp"
#include "common/libi18n/i18n_msg.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libi18n {

class i18n_exception : public libexception::exception {
  public:
    explicit i18n_exception(i18n_msg message);

    [[nodiscard]] const i18n_msg& message() const noexcept { return *message_; }

    /// What the message does not tell, as one line for the log alone, such as which of ten nodes
    /// failed; empty: nothing.
    [[nodiscard]] std::string_view detail() const noexcept {
        return detail_ ? std::string_view{*detail_} : std::string_view{};
    }

    /// Adds the detail to an exception on its way, unless it has one: who throws knows best.
    void add_detail(std::string text);

  private:
    std::shared_ptr<const i18n_msg> message_;
    std::shared_ptr<const std::string> detail_; // null: none
};

/// Gives a class derived from T the constructor from an `i18n_msg`: `class x : public
/// _i18n_exception<T>`.
template <typename T>
class _i18n_exception : public T {
  public:
    explicit _i18n_exception(i18n_msg message) : T{std::move(message)} {}
};

} // namespace tarvik::monitoring_modules::libi18n
