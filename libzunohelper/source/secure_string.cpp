#include "zunohelper/secure_string.hpp"

#include <string.h>

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

secure_string::secure_string(std::string_view text)
    : data_{text.empty() ? nullptr : new char[text.size()]},
      size_{text.size()} {
    std::copy(text.begin(), text.end(), data_.get());
}

secure_string::secure_string(const secure_string& other) : secure_string{other.view()} {}

secure_string::secure_string(secure_string&& other) noexcept
    : data_{std::move(other.data_)},
      size_{std::exchange(other.size_, 0)} {}

secure_string& secure_string::operator=(const secure_string& other) {
    return *this = secure_string{other};
}

secure_string& secure_string::operator=(secure_string&& other) noexcept {
    if (this != &other) {
        clear();
        data_ = std::move(other.data_);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

secure_string::~secure_string() {
    clear();
}

void secure_string::clear() noexcept {
    if (data_) {
        explicit_bzero(data_.get(), size_);
    }
    data_.reset();
    size_ = 0;
}

bool secure_string::equals(const secure_string& other) const noexcept {
    if (size_ != other.size_) {
        return false;
    }
    unsigned difference = 0;
    for (std::size_t i = 0; i < size_; ++i) {
        difference |= static_cast<unsigned char>(data_[i] ^ other.data_[i]);
    }
    return difference == 0;
}

} // namespace tarvik::monitoring_modules::libzunohelper
