#include "opcua/checks/notification_value.hpp"

#include "common/libstringutils/number.hpp"
#include "zunohelper/setting_kinds.hpp"

#include <array>
#include <exception>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

using option = libzunohelper::selection_option<notification_type>;

constexpr std::array types{
    option{"Boolean", notification_type::boolean},
    option{"String", notification_type::string},
    option{"Integer64", notification_type::integer64},
    option{"FloatingPoint", notification_type::floatingpoint},
};

/// @param read leading_integer or leading_double.
/// @param type what it makes, as it is logged.
template <typename Read>
auto converted(
    const std::string& text, const Read& read, std::string_view type, liblog::log_interface* log
) {
    try {
        return read(text);
    } catch (const std::exception& error) {
        liblog::write(
            log,
            severity::error,
            "could not parse value:\"",
            text,
            "\" to ",
            type,
            ": ",
            error.what()
        );
        throw;
    }
}

} // namespace

notification_type parse_notification_type(std::string_view text) {
    return libzunohelper::parse_selection("write.type", text, types);
}

void set_notification_value(
    writeable_variable_node_interface& node,
    notification_type type,
    const std::string& text,
    liblog::log_interface* log
) {
    switch (type) {
    case notification_type::boolean:
        node.set_value(text == "True");
        return;
    case notification_type::string:
        node.set_value(text);
        return;
    case notification_type::integer64:
        node.set_value(converted(text, libstringutils::leading_integer, "int64", log));
        return;
    case notification_type::floatingpoint:
        node.set_value(converted(text, libstringutils::leading_double, "double", log));
        return;
    }
}

} // namespace tarvik::monitoring_modules::opcua
