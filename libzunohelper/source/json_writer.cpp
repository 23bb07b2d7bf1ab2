#include "json_writer.hpp"

#include "utf8.hpp"

#include <charconv>
#include <cmath>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

constexpr bool needs_no_escape(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

/// The longest that std::to_chars writes for a 64-bit integer or the shortest form of a double.
constexpr std::size_t max_digits = 32;

} // namespace

void json_writer::separate() {
    // Texts end with a quote, so the last byte alone tells whether a value or a bracket came
    // before.
    if (!out_.empty() && out_.back() != '{' && out_.back() != '[' && out_.back() != ':') {
        out_.push_back(',');
    }
}

void json_writer::open(char bracket) {
    separate();
    out_.push_back(bracket);
}

json_writer& json_writer::key(std::string_view name) {
    separate();
    out_.push_back('"');
    out_.append(name).append("\":");
    return *this;
}

json_writer& json_writer::escaped_key(std::string_view name) {
    separate();
    append_quoted(name);
    out_.push_back(':');
    return *this;
}

void json_writer::text(std::string_view value) {
    separate();
    append_quoted(value);
}

void json_writer::append_quoted(std::string_view value) {
    out_.push_back('"');
    while (!value.empty()) {
        std::size_t plain = 0;
        while (plain < value.size() && needs_no_escape(value[plain])) {
            ++plain;
        }
        out_.append(value.substr(0, plain));
        value.remove_prefix(plain);
        if (value.empty()) {
            break;
        }
        const std::size_t sequence = utf8::sequence_length(value);
        if (sequence == 0) {
            out_.append(utf8::replacement);
        } else if (sequence == 1) {
            append_escape(value[0]);
        } else {
            out_.append(value.substr(0, sequence));
        }
        value.remove_prefix(sequence == 0 ? 1 : sequence);
    }
    out_.push_back('"');
}

void json_writer::append_escape(char control_or_special) {
    switch (control_or_special) {
    case '"':
        out_.append("\\\"");
        return;
    case '\\':
        out_.append("\\\\");
        return;
    case '\n':
        out_.append("\\n");
        return;
    case '\r':
        out_.append("\\r");
        return;
    case '\t':
        out_.append("\\t");
        return;
    default:
        break;
    }
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(control_or_special);
    out_.append("\\u00");
    out_.push_back(digits[byte >> 4U]);
    out_.push_back(digits[byte & 0xFU]);
}

void json_writer::integer(std::int64_t value) {
    separate();
    char digits[max_digits];
    out_.append(digits, std::to_chars(digits, digits + max_digits, value).ptr);
}

void json_writer::boolean(bool value) {
    separate();
    out_.append(value ? "true" : "false");
}

void json_writer::number(double value) {
    const std::size_t begin = out_.size();
    short_number(value);
    if (std::isfinite(value) && out_.find_first_of(".e", begin) == std::string::npos) {
        out_.append(".0");
    }
}

void json_writer::short_number(double value) {
    if (!std::isfinite(value)) {
        text(std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
        return;
    }
    separate();
    char digits[max_digits];
    out_.append(digits, std::to_chars(digits, digits + max_digits, value).ptr);
}

void json_writer::raw(std::string_view json) {
    separate();
    out_.append(json);
}

} // namespace tarvik::monitoring_modules::libzunohelper
