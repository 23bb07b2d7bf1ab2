#include "module/information/document.hpp"

#include "module/information/document_pieces.hpp"

#include <span>
#include <string_view>

namespace tarvik::monitoring_modules {

namespace {

void append(std::string& text, std::span<const std::string_view> pieces) {
    for (const std::string_view piece : pieces) {
        text.append(piece);
    }
}

} // namespace

std::string information_document() {
    std::string document;
    append(document, information::document_head());
    document.append(",\"Text\":");
    append(document, information::document_texts());
    document.push_back('}');
    return document;
}

} // namespace tarvik::monitoring_modules
