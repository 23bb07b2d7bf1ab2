#include "probe/serve/language_shelf.hpp"

#include "host/probe_error.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::array<std::string_view, 9> codes{
    "en", "de", "es", "fr", "ja", "nl", "pt", "ru", "zh"};

} // namespace

std::shared_ptr<const module_document> language_shelf::find(const std::string& code) {
    const std::string known = std::ranges::find(codes, code) == codes.end() ? "en" : code;
    const std::lock_guard lock{mutex_};
    auto& document = documents_[known];
    if (document == nullptr) {
        try {
            document = std::make_shared<const module_document>(module_.information(), known);
        } catch (const probe_error&) { // without one, kinds are shown by their names
            document = std::make_shared<const module_document>();
        }
    }
    return document;
}

} // namespace tarvik::monitoring_modules::probe
