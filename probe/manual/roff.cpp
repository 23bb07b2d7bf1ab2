#include "probe/manual/roff.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

// Characters that roff would take for its own, or show as a typographic sign.
constexpr std::array<std::pair<char, std::string_view>, 7> escapes{
    {{'\\', "\\e"},
     {'-', "\\-"},
     {'\'', "\\(aq"},
     {'"', "\\(dq"},
     {'`', "\\(ga"},
     {'^', "\\(ha"},
     {'~', "\\(ti"}}};

[[nodiscard]] bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// @param character UTF-8, more than one byte
[[nodiscard]] std::string code_point(std::string_view character) {
    const std::size_t more = character.size() - 1;
    std::uint32_t number = static_cast<unsigned char>(character.front()) & (0x3FU >> more);
    for (const char byte : character.substr(1)) {
        number = number << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    std::array<char, 16> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "\\[u%04X]", number));
    return text.data();
}

} // namespace

roff_code& roff_code::operator+=(const roff_code& more) {
    code += more.code;
    return *this;
}

roff_code operator+(roff_code left, const roff_code& right) {
    left += right;
    return left;
}

roff_code plain(std::string_view text) {
    roff_code result;
    if (text.starts_with('.')) {
        result.code = "\\&";
    }
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        while (i + length < text.size() && continues(text[i + length])) {
            ++length;
        }
        const auto* const escape =
            std::ranges::find(escapes, text[i], [](const auto& row) { return row.first; });
        if (length > 1) {
            result.code += code_point(text.substr(i, length));
        } else {
            result.code += escape == escapes.end() ? std::string_view{&text[i], 1} : escape->second;
        }
        i += length;
    }
    return result;
}

roff_code bold(std::string_view text) {
    return {"\\fB" + plain(text).code + "\\fR"};
}

roff_code italic(std::string_view text) {
    return {"\\fI" + plain(text).code + "\\fR"};
}

roff_page::roff_page(std::string_view name, std::string_view source, std::string_view manual) {
    std::string title{name};
    std::ranges::transform(title, title.begin(), [](unsigned char letter) {
        return static_cast<char>(std::toupper(letter));
    });
    line(
        ".TH " + plain(title).code + R"( 1 "" ")" + plain(source).code + R"(" ")" +
        plain(manual).code + "\""
    );
}

void roff_page::section(std::string_view title) {
    line(".SH \"" + plain(title).code + "\"");
}

void roff_page::subsection(std::string_view title) {
    line(".SS \"" + plain(title).code + "\"");
}

void roff_page::paragraph(const roff_code& text) {
    line(".PP");
    line(text.code);
}

void roff_page::tagged(const roff_code& tag, const roff_code& text) {
    line(".TP");
    line(tag.code);
    line(text.code);
}

void roff_page::verbatim(const std::vector<std::string>& lines) {
    line(".PP");
    line(".RS 2");
    line(".nf");
    for (const std::string& text : lines) {
        line(plain(text).code);
    }
    line(".fi");
    line(".RE");
}

void roff_page::line(const std::string& code) {
    text_ += code + "\n";
}

} // namespace tarvik::monitoring_modules::probe
