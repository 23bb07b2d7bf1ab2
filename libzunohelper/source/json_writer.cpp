#include "json_writer.hpp"

#include "utf8.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

constexpr bool needs_no_escape(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

/// The longest that std::to_chars writes for a 64-bit integer or the shortest form of a double, and
/// a ".0".
constexpr std::size_t max_digits = 32;

char* append(char* at, std::string_view text) {
    return std::ranges::copy(text, at).out;
}

/// A finite number that looks like no integer.
char* append_number(char* at, double value) {
    char* const end = std::to_chars(at, at + max_digits, value).ptr;
    const std::string_view written{at, end};
    return written.find_first_of(".e") == std::string_view::npos ? append(end, ".0") : end;
}

/// Room for one channel's value, which stands between `begin` and `end` once it is written.
struct value_text {
    char bytes[sizeof R"({"id":-2147483648,"value":})" + max_digits];
    char* end;

    explicit value_text(std::int32_t id) : end{append(bytes, R"({"id":)")} {
        end = append(std::to_chars(end, end + max_digits, id).ptr, R"(,"value":)");
    }
    [[nodiscard]] std::string_view closed() {
        end = append(end, "}");
        return {bytes, end};
    }
};

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
    if (!std::isfinite(value)) {
        short_number(value);
        return;
    }
    separate();
    char digits[max_digits];
    out_.append(digits, append_number(digits, value));
}

void json_writer::channel_value(std::int32_t id, std::int64_t value) {
    value_text text{id};
    text.end = std::to_chars(text.end, text.end + max_digits, value).ptr;
    raw(text.closed());
}

void json_writer::channel_value(std::int32_t id, double value) {
    if (!std::isfinite(value)) {
        begin_object();
        key("id").integer(id);
        key("value").number(value);
        end_object();
        return;
    }
    value_text text{id};
    text.end = append_number(text.end, value);
    raw(text.closed());
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
