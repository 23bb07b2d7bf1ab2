#pragma once
// Reads JSON with its numbers as they were sent. RapidJSON can do that by itself, but takes "0e-30"
// for any number at all: it looks for the highest bit of a zero.

#include "text/number.hpp"
#include <rapidjson/document.h>

#include <cstdint>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// Hands what a reader finds to a document, numbers converted.
class number_converter final
    : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, number_converter> {
  public:
    explicit number_converter(rapidjson::Document& to) : to_{to} {}

    // The names and types are RapidJSON's; false ends the reading.
    bool Null() { return to_.Null(); }
    bool Bool(bool value) { return to_.Bool(value); }
    bool RawNumber(const char* text, rapidjson::SizeType size, bool) {
        const std::string_view number{text, size};
        if (const auto whole = parse_number<std::int64_t>(number)) {
            return to_.Int64(*whole);
        }
        if (const auto large = parse_number<std::uint64_t>(number)) {
            return to_.Uint64(*large);
        }
        const auto value = parse_number<double>(number); // none beyond the largest and the smallest
        return value && to_.Double(*value);
    }
    bool String(const char* text, rapidjson::SizeType size, bool copy) {
        return to_.String(text, size, copy);
    }
    bool Key(const char* text, rapidjson::SizeType size, bool copy) {
        return to_.Key(text, size, copy);
    }
    bool StartObject() { return to_.StartObject(); }
    bool EndObject(rapidjson::SizeType members) { return to_.EndObject(members); }
    bool StartArray() { return to_.StartArray(); }
    bool EndArray(rapidjson::SizeType elements) { return to_.EndArray(elements); }

  private:
    rapidjson::Document& to_;
};

/// @param to without a value yet
/// @return what is wrong, and at which byte
[[nodiscard]] inline rapidjson::ParseResult
read_json(std::string_view text, rapidjson::Document& to) {
    constexpr unsigned flags =
        rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag;
    rapidjson::MemoryStream bytes{text.data(), text.size()};
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream{bytes};
    rapidjson::Reader reader;
    auto read = [&](rapidjson::Document& document) {
        number_converter converter{document};
        return !reader.Parse<flags>(stream, converter).IsError();
    };
    to.Populate(read);
    return {reader.GetParseErrorCode(), reader.GetErrorOffset()};
}

} // namespace tarvik::monitoring_modules::probe
