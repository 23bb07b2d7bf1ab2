#pragma once
// Two ways to read JSON from outside: strictly, where errors name the place, and loosely, where
// what is absent or has another type counts as empty.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

/// An object within a document and the way to it, such as "channel_definitions[2]"; empty for the
/// document itself. Refers to the document, which must outlive it. Members that are absent or null
/// take the fallback.
class json_object final {
  public:
    /// @throws probe_error (call_failed) unless it is an object
    json_object(const nlohmann::ordered_json& object, std::string place);

    /// @return null when the member is absent or null
    [[nodiscard]] const nlohmann::ordered_json* find(const char* name) const;
    [[nodiscard]] std::string place_of(std::string_view name) const;

    // The following throw probe_error (call_failed) when the member has another type.
    [[nodiscard]] std::int64_t integer(const char* name) const; ///< required
    [[nodiscard]] std::int64_t integer(const char* name, std::int64_t fallback) const;
    [[nodiscard]] double real(const char* name, double fallback) const;
    [[nodiscard]] bool boolean(const char* name) const; ///< required
    [[nodiscard]] bool boolean(const char* name, bool fallback) const;
    [[nodiscard]] std::string text(const char* name, std::string_view fallback) const;

    /// Calls visit(json_object) for each element of a list of objects.
    template <typename Visitor>
    void each(const char* name, Visitor visit) const {
        const nlohmann::ordered_json& list = array(name);
        for (std::size_t i = 0; i < list.size(); ++i) {
            visit(json_object{list[i], place_of(name) + "[" + std::to_string(i) + "]"});
        }
    }

    [[noreturn]] void fail(std::string_view name, std::string_view problem) const;

  private:
    [[nodiscard]] const nlohmann::ordered_json& array(const char* name) const;

    const nlohmann::ordered_json& object_;
    std::string place_;
};

/// @return the member, or null JSON when there is none
[[nodiscard]] const nlohmann::ordered_json&
member(const nlohmann::ordered_json& object, const std::string& name);

[[nodiscard]] std::string text_of(const nlohmann::ordered_json& value);
[[nodiscard]] bool flag_of(const nlohmann::ordered_json& value);

/// Takes a number, or a text that is one.
[[nodiscard]] std::optional<std::int64_t> integer_of(const nlohmann::ordered_json& value);

/// @return the texts of a list; elements that are none are left out
[[nodiscard]] std::vector<std::string> texts_of(const nlohmann::ordered_json& list);

/// @return the object on a line of its own; all characters beyond ASCII are escaped, and bytes that
/// are no UTF-8 replaced, so that a terminal that shows the line stays unharmed
[[nodiscard]] std::string json_line(const nlohmann::ordered_json& object);

} // namespace tarvik::monitoring_modules::probe
