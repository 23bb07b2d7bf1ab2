#pragma once

// How exception classes are made from the catalogue: each class has one key, and is built from
// exactly as many argument texts as its template names.

#include "common/catalogue/definitions.hpp"
#include "common/libi18n/i18n_exception.hpp"
#include "common/libstringutils/format.hpp"

#include <concepts>
#include <string_view>

namespace tarvik::monitoring_modules::catalogue {

template <const libi18n::message_definition& Definition, typename... Texts>
concept arguments_of = sizeof...(Texts) == libstringutils::argument_count(Definition.text) &&
                       (std::convertible_to<const Texts&, std::string_view> && ...);

} // namespace tarvik::monitoring_modules::catalogue

// A class `name` below `parent` (a class name or _i18n_exception<...>) for the catalogue constant
// `definition`. Two constructors: from the argument texts of the template, and from a message that
// is already built.
#define CATALOGUE_DEFINE_EXCEPTION(name, parent, definition)                                       \
    class name : public parent {                                                                   \
      public:                                                                                      \
        explicit name(::tarvik::monitoring_modules::libi18n::i18n_msg message)                     \
            : parent{std::move(message)} {}                                                        \
        template <typename... Texts>                                                               \
        requires ::tarvik::monitoring_modules::catalogue::arguments_of<definition, Texts...>       \
        explicit name(const Texts&... arguments)                                                   \
            : parent{::tarvik::monitoring_modules::libi18n::i18n_msg{definition, arguments...}} {} \
    };

namespace tarvik::monitoring_modules::libi18n {

CATALOGUE_DEFINE_EXCEPTION(
    error_generic, _i18n_exception<i18n_exception>, catalogue::libi18n_error::error_generic
)

} // namespace tarvik::monitoring_modules::libi18n
