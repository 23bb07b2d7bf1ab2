#include "opcua/client/generated_key_pair.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"
#include "opcua/ua_value.hpp"
#include "zunohelper/host_events.hpp"

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

constexpr UA_UInt16 key_size_bits = 4096;

generated_key_pair generate(liblog::log_interface& log) {
    liblog::write(&log, liblog::severity::info, "Generating the client's key pair.");
    libzunohelper::report_event(ZUNO_EVENT_MAKING_KEY_PAIR);
    const std::array subject{
        borrowed("C=DE"), borrowed("O=TarvikGmbH"), borrowed("CN=OpcUaSensor")};
    const UA_String alternative_name = borrowed("URI:urn:ostrel.opcua.sensor");
    key_value_map parameters;
    parameters.set("key-size-bits", key_size_bits); // as any other type it would be ignored

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
    return {std::string{view_of(*certificate)}, libzunohelper::secure_string{private_key.view()}};
}

} // namespace

generated_key_pair shared_key_pair::copy(liblog::log_interface& log) {
    const std::lock_guard lock{mutex_};
    if (!pair_) {
        pair_ = make_(log);
    }
    return *pair_;
}

generated_key_pair copy_generated_key_pair(liblog::log_interface& log) {
    static shared_key_pair pair{generate};
    return pair.copy(log);
}

} // namespace tarvik::monitoring_modules::opcua
