#include "module/information/generator/literal_writer.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::information {

namespace {

constexpr std::size_t longest_piece = 5000;

bool continues_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t piece_length(std::string_view text) {
    std::size_t length = std::min(text.size(), longest_piece);
    while (length < text.size() && continues_character(text[length])) {
        --length;
    }
    return length;
}

} // namespace

void write_literals(std::ostream& out, std::string_view name, std::string_view text) {
    out << "std::span<const std::string_view> " << name << "() noexcept {\n"
        << "static constexpr std::string_view pieces[]{\n";
    while (!text.empty()) {
        const std::size_t length = piece_length(text);
        out << "R\"~(" << text.substr(0, length) << ")~\",\n";
        text.remove_prefix(length);
    }
    out << "};\nreturn pieces;\n}\n";
}

} // namespace tarvik::monitoring_modules::information
