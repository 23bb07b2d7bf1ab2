#pragma once

// The answer of one check: passed or not.

#include "zunohelper/export.hpp"
#include "zunohelper/zuno_message.hpp"

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

class ZUNOHELPER_API check_result final : public zuno_message {
  public:
    /// A result that is not successful.
    explicit check_result(std::int32_t check_id) noexcept;

    void set_success(bool success) noexcept { success_ = success; }
    [[nodiscard]] bool success() const noexcept { return success_; }

    [[nodiscard]] std::string serialize() const override;

  private:
    std::int32_t check_id_;
    bool success_ = false;
};

} // namespace tarvik::monitoring_modules::libzunohelper
