#include "common/libi18n/i18n_exception.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libi18n {

i18n_exception::i18n_exception(i18n_msg message)
    : exception{message.text()},
      message_{std::make_shared<const i18n_msg>(std::move(message))} {}

} // namespace tarvik::monitoring_modules::libi18n
