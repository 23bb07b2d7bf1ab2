#include "common/libexception/exception.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libexception {

exception::exception(std::string text)
    : text_{std::make_shared<const std::string>(std::move(text))} {}

const char* exception::what() const noexcept {
    return text_->c_str();
}

std::string_view text_of(const std::exception& error) noexcept {
    const auto* const own = dynamic_cast<const exception*>(&error);
    return own != nullptr ? std::string_view{own->text()} : std::string_view{error.what()};
}

} // namespace tarvik::monitoring_modules::libexception
