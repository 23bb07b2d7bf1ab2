#include "zunohelper/check_result.hpp"

#include "json_writer.hpp"

namespace tarvik::monitoring_modules::libzunohelper {

check_result::check_result(std::int32_t check_id) noexcept : check_id_{check_id} {}

std::string check_result::serialize() const {
    json_writer json{64};
    json.begin_object();
    json.key("type").text("check_result");
    json.key("check_id").integer(check_id_);
    json.key("success").boolean(success_);
    json.end_object();
    return std::move(json).take();
}

} // namespace tarvik::monitoring_modules::libzunohelper
