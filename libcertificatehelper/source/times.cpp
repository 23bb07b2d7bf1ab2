#include "libcertificatehelper/source/times.hpp"

#include <ctime>

namespace tarvik::monitoring_modules::libcertificatehelper {

std::optional<std::chrono::sys_seconds> utc_seconds(const ASN1_TIME* time) {
    std::tm parts{};
    // Without the check for null OpenSSL would give the current time.
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) {
        return std::nullopt;
    }
    return std::chrono::sys_seconds{std::chrono::seconds{timegm(&parts)}};
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
