#pragma once

// Tells the host which sensors, checks, settings, lookups and texts the module has.

#include "zunohelper/export.hpp"
#include "zunohelper/zuno_message.hpp"

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper {

class ZUNOHELPER_API module_information_message final : public zuno_message {
  public:
    /// @param document the module information: a JSON object in UTF-8. Its members keep their
    /// order.
    /// @param include_texts false leaves out the member "Text" (the translations).
    /// @throws libjsonparser::exceptions::parse when the document is no JSON.
    /// @throws libjsonparser::exceptions::conversion when it is no object.
    module_information_message(std::string_view document, bool include_texts);

    /// @return a copy of bytes().
    [[nodiscard]] std::string serialize() const override { return bytes_; }

    /// The message, made once; valid as long as this object.
    [[nodiscard]] const std::string& bytes() const noexcept { return bytes_; }

  private:
    std::string bytes_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
