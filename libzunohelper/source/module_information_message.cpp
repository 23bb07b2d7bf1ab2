#include "zunohelper/module_information_message.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "json_errors.hpp"
#include "json_writer.hpp"

#include <utility>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

nlohmann::ordered_json parse_document(std::string_view document) {
    try {
        return nlohmann::ordered_json::parse(document);
    } catch (const nlohmann::ordered_json::parse_error& error) {
        throw_syntax_error(error.byte);
    }
}

} // namespace

module_information_message::module_information_message(
    std::string_view document, bool include_texts
) {
    auto information = parse_document(document);
    if (!information.is_object()) {
        throw libjsonparser::exceptions::conversion{"module_information", "object"};
    }
    if (!include_texts) {
        information.erase("Text");
    }
    const std::string text = information.dump();
    json_writer json{64 + text.size()};
    json.begin_object();
    json.key("type").text("module_information");
    json.key("module_information").raw(text);
    json.end_object();
    bytes_ = std::move(json).take();
}

} // namespace tarvik::monitoring_modules::libzunohelper
