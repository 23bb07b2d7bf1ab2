#include "libcertificatehelper/source/openssl_error.hpp"

#include <openssl/err.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

error_scope::error_scope() noexcept {
    ERR_clear_error();
}

error_scope::~error_scope() {
    ERR_clear_error();
}

std::string take_error_text() {
    const unsigned long code = ERR_get_error();
    const char* reason = ERR_reason_error_string(code);
    std::string text{reason != nullptr ? reason : "Unknown OpenSSL error"};
    text.append(" (").append(std::to_string(code)).append(reason != nullptr ? ")" : ").");
    return text;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
