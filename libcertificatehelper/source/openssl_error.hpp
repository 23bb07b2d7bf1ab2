#pragma once

// OpenSSL's error queue, which belongs to the thread and which our host's own code may use too.

#include <string>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// Stands at the start of every operation that calls OpenSSL: the queue is empty at its start, so
/// that an old entry never becomes our text, and at its end, so that ours disturbs nobody.
class error_scope {
  public:
    error_scope() noexcept;
    error_scope(const error_scope&) = delete;
    error_scope& operator=(const error_scope&) = delete;
    ~error_scope();
};

/// Takes the earliest error off the queue.
/// @return its reason with its code, such as "wrong tag (218640440)".
[[nodiscard]] std::string take_error_text();

} // namespace tarvik::monitoring_modules::libcertificatehelper
