#include "common/libexception/exception.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libexception {

exception::exception(std::string text)
    : text_{std::make_shared<const std::string>(std::move(text))} {}

const char* exception::what() const noexcept {
    return text_->c_str();
}

} // namespace tarvik::monitoring_modules::libexception
