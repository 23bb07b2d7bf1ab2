#pragma once

// The order in which a process ends that uses this library.

namespace tarvik::monitoring_modules::libcertificatehelper {

/// Has OpenSSL register the clean-up with which it ends at exit, unless that is done or the host
/// has forbidden it. Exit handlers registered afterwards run before it. Any thread, any number of
/// times; cheap.
void register_openssl_exit() noexcept;

} // namespace tarvik::monitoring_modules::libcertificatehelper
