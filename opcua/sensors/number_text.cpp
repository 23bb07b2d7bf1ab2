#include "opcua/sensors/number_text.hpp"

#include "common/catalogue/opcua_exceptions.hpp"

#include <locale.h>
#include <stdlib.h>

#include <cerrno>
#include <new>

namespace tarvik::monitoring_modules::opcua {

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

} // namespace

double leading_number(const std::string& text) {
    static const c_locale locale;
    const int errno_before = errno;
    errno = 0;
    char* end = nullptr;
    const double number = strtod_l(text.c_str(), &end, locale.get());
    const bool out_of_range = errno == ERANGE;
    errno = errno_before;
    if (end == text.c_str() || out_of_range) {
        throw exceptions::conversion_failure{};
    }
    return number;
}

} // namespace tarvik::monitoring_modules::opcua
