#pragma once

// Takes the kind and the flattened settings out of a host's JSON record, event by event: no tree of
// the record, which may hold secrets, is ever built.

#include "zunohelper/settings_reader.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::libzunohelper {

class settings_parser final : public nlohmann::json_sax<nlohmann::json> {
  public:
    /// Keys longer than this are no settings and are left out. Without a limit, many short keys
    /// below a very long one would multiply the size of the record when it is flattened.
    static constexpr std::size_t max_key_bytes = 256;

    /// @throws what the constructor of sensor_data_wrapper throws, except for its size.
    void parse(std::string_view json);

    /// After parse: the text of "kind"; nothing when it is absent.
    [[nodiscard]] const std::optional<std::string>& kind() const noexcept { return kind_; }

    /// After parse: the settings, moved out; nothing when they are absent.
    [[nodiscard]] std::optional<settings_reader::texts> take_settings();

    bool null() override;
    bool boolean(bool value) override;
    bool number_integer(number_integer_t value) override;
    bool number_unsigned(number_unsigned_t value) override;
    bool number_float(number_float_t value, const string_t& written) override;
    bool string(string_t& value) override;
    bool binary(binary_t& value) override;
    bool start_object(std::size_t elements) override;
    bool key(string_t& name) override;
    bool end_object() override;
    bool start_array(std::size_t elements) override;
    bool end_array() override;
    bool parse_error(
        std::size_t byte, const std::string& token, const nlohmann::detail::exception& error
    ) override;

  private:
    enum class member { kind, settings, ignored };

    void enter();
    bool store(std::string_view text, bool is_string);

    std::size_t depth_ = 0;            // open objects and arrays
    member member_ = member::ignored;  // of the record: the one being read
    std::string key_;                  // dotted key of the setting being read
    std::vector<std::size_t> parents_; // how much of key_ names each open object of the settings
    std::optional<std::string> kind_;
    std::optional<settings_reader::texts> settings_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
