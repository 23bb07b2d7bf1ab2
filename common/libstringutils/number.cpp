#include "common/libstringutils/number.hpp"

#include <locale.h>
#include <stdlib.h>

#include <cerrno>
#include <new>
#include <stdexcept>

namespace tarvik::monitoring_modules::libstringutils {

namespace {

/// The C locale as an object: the process's own locale is neither used nor changed.
class c_locale {
  public:
    c_locale() : locale_{newlocale(LC_ALL_MASK, "C", nullptr)} {
        if (locale_ == nullptr) {
            throw std::bad_alloc{};
        }
    }
    c_locale(const c_locale&) = delete;
    c_locale& operator=(const c_locale&) = delete;
    ~c_locale() { freelocale(locale_); }

    [[nodiscard]] locale_t get() const noexcept { return locale_; }

  private:
    locale_t locale_;
};

/// @param read strtod_l or its like: takes text, place for the end of the number, and locale.
template <typename Read>
auto leading_number(const std::string& text, const Read& read) {
    const c_locale locale; // which the C library has ready: this makes none
    const int errno_before = errno;
    errno = 0;
    char* end = nullptr;
    const auto number = read(text.c_str(), &end, locale.get());
    const bool out_of_range = errno == ERANGE;
    errno = errno_before;
    if (end == text.c_str()) {
        throw std::invalid_argument{"There is no number at the start of the text."};
    }
    if (out_of_range) {
        throw std::out_of_range{"The number is out of range."};
    }
    return number;
}

} // namespace

double leading_double(const std::string& text) {
    return leading_number(text, strtod_l);
}

std::int64_t leading_integer(const std::string& text) {
    constexpr int decimal = 10;
    return leading_number(text, [](const char* begin, char** end, locale_t locale) {
        return std::int64_t{strtoll_l(begin, end, decimal, locale)};
    });
}

} // namespace tarvik::monitoring_modules::libstringutils
