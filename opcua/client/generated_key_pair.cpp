#include "opcua/client/generated_key_pair.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"
#include "opcua/ua_value.hpp"
#include "zunohelper/host_events.hpp"
#include "zunohelper/host_store.hpp"

#include <string.h>

#include <array>

#include <open62541/plugin/create_certificate.h>

namespace tarvik::monitoring_modules::opcua {

namespace {

using ua_byte_string = ua_value<UA_ByteString, UA_TYPES_BYTESTRING>;

/// Bytes of the stack that are overwritten before they are freed.
class secret_bytes {
  public:
    secret_bytes() = default;
    secret_bytes(const secret_bytes&) = delete;
    secret_bytes& operator=(const secret_bytes&) = delete;
    ~secret_bytes() {
        if (bytes_->length > 0) {
            explicit_bzero(bytes_->data, bytes_->length);
        }
    }

    [[nodiscard]] UA_ByteString* out() noexcept { return bytes_.out(); }
    [[nodiscard]] std::string_view view() const noexcept { return view_of(*bytes_); }

  private:
    ua_byte_string bytes_;
};

class key_value_map {
  public:
    key_value_map() = default;
    key_value_map(const key_value_map&) = delete;
    key_value_map& operator=(const key_value_map&) = delete;
    ~key_value_map() { UA_KeyValueMap_clear(&map_); }

    void set(const char* key, UA_UInt16 value) {
        if (UA_KeyValueMap_setScalar(
                &map_,
                UA_QUALIFIEDNAME(0, const_cast<char*>(key)),
                &value,
                &UA_TYPES[UA_TYPES_UINT16]
            ) != UA_STATUSCODE_GOOD) {
            throw std::bad_alloc{};
        }
    }
    [[nodiscard]] UA_KeyValueMap* get() noexcept { return &map_; }

  private:
    UA_KeyValueMap map_ = UA_KEYVALUEMAP_NULL;
};

/// Under this name the host keeps the pair.
constexpr const char* store_name = "client-key-pair";

} // namespace

libzunohelper::secure_string make_key_pair(liblog::log_interface& log) {
    liblog::write(&log, liblog::severity::info, "Generating the client's key pair.");
    libzunohelper::report_event(ZUNO_EVENT_MAKING_KEY_PAIR);
    const std::array subject{
        borrowed(generated_country),
        borrowed(generated_organization),
        borrowed(generated_common_name)};
    const UA_String alternative_name = borrowed(generated_alternative_name);
    key_value_map parameters;
    parameters.set(
        "key-size-bits", UA_UInt16{generated_key_bits}
    ); // as any other type it would be ignored

    secret_bytes private_key;
    ua_byte_string certificate;
    const UA_Logger silent{
        [](void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}, nullptr, nullptr};
    const UA_StatusCode status = UA_CreateCertificate(
        &silent,
        subject.data(),
        subject.size(),
        &alternative_name,
        1,
        UA_CERTIFICATEFORMAT_PEM,
        parameters.get(),
        private_key.out(),
        certificate.out()
    );
    if (status != UA_STATUSCODE_GOOD) {
        liblog::write(&log, liblog::severity::error, "failed to create certificate");
        throw exceptions::opcua_request_failed{status_name(status)};
    }
    return to_kept(view_of(*certificate), private_key.view());
}

generated_key_pair shared_key_pair::copy(liblog::log_interface& log) {
    const std::lock_guard lock{mutex_};
    if (!pair_) {
        pair_ = get_(log);
    }
    return *pair_;
}

generated_key_pair stored_or_made_key_pair(
    liblog::log_interface& log,
    const std::function<libzunohelper::secure_string(liblog::log_interface&)>& make
) {
    const auto certificates = libcertificatehelper::create_openssl_allocator();
    // Twice: a host may know that another process is making a new one, and wait for it.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto kept = libzunohelper::host_store::load(store_name);
        if (!kept) {
            break;
        }
        read_key_pair found = from_kept(kept->view(), *certificates);
        if (found.pair) {
            return *std::move(found.pair);
        }
        liblog::write(
            &log, liblog::severity::debug, "The stored key pair is not used: ", found.problem
        );
    }
    const libzunohelper::secure_string made = make(log);
    read_key_pair found = from_kept(made.view(), *certificates);
    if (!found.pair) {
        liblog::write(
            &log, liblog::severity::error, "The generated key pair is not usable: ", found.problem
        );
        throw exceptions::opcua_request_failed{status_name(UA_STATUSCODE_BADINTERNALERROR)};
    }
    if (!libzunohelper::host_store::save(store_name, made.view())) {
        liblog::write(&log, liblog::severity::debug, "The host has not kept the key pair.");
    }
    return *std::move(found.pair);
}

namespace {

// Of the whole library, not of a function: it has to outlive calls that are in flight when the
// process exits, so it is registered for destruction before they can begin.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables,cert-err58-cpp)
shared_key_pair process_pair{
    [](liblog::log_interface& log) { return stored_or_made_key_pair(log, make_key_pair); }};

} // namespace

generated_key_pair copy_generated_key_pair(liblog::log_interface& log) {
    return process_pair.copy(log);
}

} // namespace tarvik::monitoring_modules::opcua
