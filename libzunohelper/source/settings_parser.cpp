#include "settings_parser.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "json_errors.hpp"
#include "secret_settings.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <string.h>

#include <algorithm>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

using libjsonparser::exceptions::conversion;

} // namespace

void settings_parser::parse(std::string_view json) {
    // Such a byte stands in no JSON, and the parser would take it for the end.
    if (const std::size_t zero = json.find('\0'); zero != std::string_view::npos) {
        throw_syntax_error(zero + 1);
    }
    nlohmann::json::sax_parse(json.begin(), json.end(), this);
}

std::optional<settings_reader::texts> settings_parser::take_settings() {
    return std::exchange(settings_, std::nullopt);
}

void settings_parser::enter() {
    if (depth_ == sensor_data_wrapper::max_depth) {
        throw libjsonparser::exceptions::parse{"It is nested too deeply."};
    }
    ++depth_;
}

/// Takes a value that is neither null, object nor array.
bool settings_parser::store(std::string_view text, bool is_string) {
    if (depth_ == 0) {
        throw libjsonparser::exceptions::parse{"It is not an object."};
    }
    if (member_ == member::settings) {
        if (depth_ == 1) {
            throw conversion{"settings", "object"};
        }
        if (key_.size() <= max_key_bytes) {
            settings_->insert_or_assign(key_, secure_string{text});
        }
    } else if (member_ == member::kind && depth_ == 1) {
        if (!is_string) {
            throw conversion{"kind", "string"};
        }
        kind_ = text;
    }
    return true;
}

bool settings_parser::null() {
    if (depth_ == 0) {
        return store({}, false);
    }
    if (member_ == member::settings) {
        if (depth_ == 1) {
            settings_.reset();
        } else {
            settings_->erase(key_);
        }
    } else if (member_ == member::kind) {
        kind_.reset();
    }
    return true;
}

bool settings_parser::boolean(bool value) {
    return store(value ? "true" : "false", false);
}

bool settings_parser::number_integer(number_integer_t value) {
    return store(
        value == 0 ? "-0" : std::to_string(value), false
    ); // positive zero is an unsigned number
}

bool settings_parser::number_unsigned(number_unsigned_t value) {
    return store(std::to_string(value), false);
}

bool settings_parser::number_float(number_float_t, const string_t& written) {
    // The parser puts the decimal point of the host's locale in place of the one in the record.
    constexpr std::string_view others = "+-0123456789eE";
    std::string number = written;
    std::ranges::replace_if(
        number, [&](char c) { return others.find(c) == std::string_view::npos; }, '.'
    );
    return store(number, false);
}

bool settings_parser::string(string_t& value) {
    store(value, true);
    explicit_bzero(value.data(), value.size()); // the parser's buffer; the text may be a secret
    return true;
}

bool settings_parser::binary(binary_t&) {
    return true; // only binary formats have it
}

bool settings_parser::start_object(std::size_t) {
    if (member_ == member::kind && depth_ == 1) {
        throw conversion{"kind", "string"};
    }
    if (member_ == member::settings) {
        if (depth_ == 1) {
            key_.clear();
            settings_.emplace();
        } else {
            key_.push_back('.');
        }
        parents_.push_back(key_.size());
    }
    enter();
    return true;
}

bool settings_parser::key(string_t& name) {
    if (depth_ == 1) {
        member_ = name == "kind"       ? member::kind
                  : name == "settings" ? member::settings
                                       : member::ignored;
    } else if (member_ == member::settings) {
        key_.resize(parents_.back());
        key_.append(name);
    }
    return true;
}

bool settings_parser::end_object() {
    --depth_;
    if (!parents_.empty()) {
        parents_.pop_back();
    }
    return true;
}

bool settings_parser::start_array(std::size_t) {
    if (depth_ == 0) {
        return store({}, false);
    }
    if (member_ == member::kind && depth_ == 1) {
        throw conversion{"kind", "string"};
    }
    if (member_ == member::settings) {
        throw libjsonparser::exceptions::unexpected_array{
            depth_ == 1 ? "settings" : secret_settings::shown_key(key_)};
    }
    enter();
    return true;
}

bool settings_parser::end_array() {
    --depth_;
    return true;
}

bool settings_parser::
    parse_error(std::size_t byte, const std::string&, const nlohmann::detail::exception&) {
    throw_syntax_error(byte);
}

} // namespace tarvik::monitoring_modules::libzunohelper
