#include "common/libi18n/i18n_exception.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libi18n {

i18n_exception::i18n_exception(i18n_msg message)
    : exception{message.text()},
      message_{std::make_shared<const i18n_msg>(std::move(message))} {}

void i18n_exception::add_detail(std::string text) {
    if (!detail_) {
        detail_ = std::make_shared<const std::string>(std::move(text));
    }
}

} // namespace tarvik::monitoring_modules::libi18n
