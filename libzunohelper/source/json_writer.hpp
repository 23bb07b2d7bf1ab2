#pragma once

// Writes JSON into one string as it comes, without building a tree first: scan results are written
// all day long.
//
//     json_writer json{64};
//     json.begin_object();
//     json.key("id").integer(7);
//     json.end_object();
//
// Commas are placed by the writer. Whether calls come in an order that makes sense is the caller's
// business.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

class json_writer {
  public:
    /// @param expected_size bytes to set aside, so that the string need not grow.
    explicit json_writer(std::size_t expected_size) { out_.reserve(expected_size); }

    void begin_object() { open('{'); }
    void end_object() { out_.push_back('}'); }
    void begin_array() { open('['); }
    void end_array() { out_.push_back(']'); }

    /// A member's name; its value comes next.
    /// @param name written as it is: ASCII without quotes and backslashes.
    json_writer& key(std::string_view name);

    /// A member's name that needs escaping.
    json_writer& escaped_key(std::string_view name);

    /// Any bytes: each that is no UTF-8 becomes U+FFFD.
    void text(std::string_view value);

    void integer(std::int64_t value);

    void boolean(bool value);

    /// Reads back to the same double and looks like no integer: "2.0". What JSON cannot say becomes
    /// the text "NaN", "Infinity" or "-Infinity".
    void number(double value);

    /// The same, but a whole number is written like one: "2".
    void short_number(double value);

    /// {"id":1,"value":2}: the object that a scan writes most, put together before it is appended.
    void channel_value(std::int32_t id, std::int64_t value);
    void channel_value(std::int32_t id, double value);

    /// Something that is JSON already.
    void raw(std::string_view json);

    /// @return what was written; the writer is not used any more.
    [[nodiscard]] std::string take() && { return std::move(out_); }

  private:
    void open(char bracket);
    void separate();
    void append_quoted(std::string_view value);
    void append_escape(char control_or_special);

    std::string out_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
