#include "zunohelper/module_information_message.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "json_errors.hpp"
#include "json_writer.hpp"

#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

/// Writes a document as it is read. Not by way of the library's tree: that takes memory to destroy
/// itself, and ends the process when there is none.
class document_copy final : public nlohmann::json_sax<nlohmann::json> {
  public:
    document_copy(json_writer& json, bool include_texts)
        : json_{json},
          include_texts_{include_texts} {}

    bool null() override {
        return value([&] { json_.raw("null"); });
    }
    bool boolean(bool flag) override {
        return value([&] { json_.boolean(flag); });
    }
    bool number_integer(number_integer_t number) override {
        return value([&] { json_.integer(number); });
    }
    bool number_unsigned(number_unsigned_t number) override {
        return value([&] { json_.raw(std::to_string(number)); });
    }
    bool number_float(number_float_t number, const string_t&) override {
        return value([&] { json_.number(number); });
    }
    bool string(string_t& text) override {
        return value([&] { json_.text(text); });
    }
    bool binary(binary_t&) override { return true; } // only binary formats have it

    bool key(string_t& name) override {
        if (depth_ == 1) {
            leaves_out_ = !include_texts_ && name == "Text";
        }
        return write([&] { json_.escaped_key(name); });
    }
    bool start_object(std::size_t) override {
        write([&] { json_.begin_object(); });
        ++depth_;
        return true;
    }
    bool end_object() override {
        --depth_;
        leaves_out_ = leaves_out_ && depth_ > 0;
        return write([&] { json_.end_object(); });
    }
    bool start_array(std::size_t) override {
        value([&] { json_.begin_array(); });
        ++depth_;
        return true;
    }
    bool end_array() override {
        --depth_;
        return write([&] { json_.end_array(); });
    }
    bool
    parse_error(std::size_t byte, const std::string&, const nlohmann::detail::exception&) override {
        throw_syntax_error(byte);
    }

  private:
    template <typename Writing>
    bool write(const Writing& writing) {
        if (!leaves_out_) {
            writing();
        }
        return true;
    }

    /// The same for what is no object.
    template <typename Writing>
    bool value(const Writing& writing) {
        if (depth_ == 0) {
            throw libjsonparser::exceptions::conversion{"module_information", "object"};
        }
        return write(writing);
    }

    json_writer& json_;
    const bool include_texts_;
    std::size_t depth_ = 0;   // open objects and arrays
    bool leaves_out_ = false; // inside the member "Text"
};

} // namespace

module_information_message::module_information_message(
    std::string_view document, bool include_texts
) {
    json_writer json{64 + document.size()};
    json.begin_object();
    json.key("type").text("module_information");
    json.key("module_information");
    document_copy copy{json, include_texts};
    nlohmann::json::sax_parse(document.begin(), document.end(), &copy);
    json.end_object();
    bytes_ = std::move(json).take();
    bytes_.shrink_to_fit();
}

} // namespace tarvik::monitoring_modules::libzunohelper
