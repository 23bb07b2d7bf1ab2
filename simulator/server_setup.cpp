#include "simulator/server_setup.hpp"

#include "simulator/plant_error.hpp"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>

#include <open62541/plugin/accesscontrol_default.h>
#include <open62541/plugin/pki_default.h>
#include <open62541/server_config_default.h>

namespace tarvik::simulator {
namespace {

constexpr std::string_view policy_none = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr std::string_view policy_basic =
    "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

void require(UA_StatusCode status, const char* what) {
    if (status != UA_STATUSCODE_GOOD) {
        throw plant_error(std::string{what} + ": " + UA_StatusCode_name(status));
    }
}

/// Owns a configuration until a server has taken it over; what the server leaves behind is empty.
class config_owner final {
  public:
    explicit config_owner(UA_Logger& logger) noexcept { config_.logging = &logger; }
    ~config_owner() { UA_ServerConfig_clean(&config_); }
    config_owner(const config_owner&) = delete;
    config_owner& operator=(const config_owner&) = delete;
    [[nodiscard]] UA_ServerConfig& get() noexcept { return config_; }

  private:
    UA_ServerConfig config_{};
};

void assign(UA_String& target, std::string_view text) {
    stack_string copy{borrow(text)};
    UA_String_clear(&target);
    target = copy.release();
}

[[nodiscard]] bool is_in(const std::filesystem::path& folder, std::string_view certificate) {
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator{folder, missing}) {
        std::ifstream file{entry.path(), std::ios::binary};
        if (certificate == std::string{std::istreambuf_iterator<char>{file}, {}}) {
            return true;
        }
    }
    return false;
}

/// Looks at the folder each time, so that a person can add a certificate while the plant runs.
UA_StatusCode
verify_client(const UA_CertificateVerification* self, const UA_ByteString* certificate) noexcept {
    const auto& options = *static_cast<const plant_options*>(self->context);
    try {
        const std::string_view bytes{
            reinterpret_cast<const char*>(certificate->data), certificate->length};
        if (options.trust_clients &&
            (options.trusted_clients.empty() || is_in(options.trusted_clients, bytes))) {
            return UA_STATUSCODE_GOOD;
        }
    } catch (const std::exception&) { // out of memory, or a folder that is none
    }
    return UA_STATUSCODE_BADCERTIFICATEUNTRUSTED;
}

void listen_on_loopback(UA_ServerConfig& config, std::uint16_t port) {
    const std::string url = "opc.tcp://127.0.0.1:" + std::to_string(port);
    const UA_String borrowed = borrow(url);
    UA_Array_delete(config.serverUrls, config.serverUrlsSize, &UA_TYPES[UA_TYPES_STRING]);
    config.serverUrls = nullptr;
    config.serverUrlsSize = 0;
    void* urls = nullptr;
    require(UA_Array_copy(&borrowed, 1, &urls, &UA_TYPES[UA_TYPES_STRING]), "server URL");
    config.serverUrls = static_cast<UA_String*>(urls);
    config.serverUrlsSize = 1;
    config.tcpReuseAddr = true; // after a restart the port still has connections that are ending
}

void describe(UA_ServerConfig& config, const plant_options& options) {
    assign(config.applicationDescription.applicationUri, options.application_uri);
    assign(config.applicationDescription.applicationName.text, options.application_name);
    assign(config.buildInfo.productName, "opcua-simulator");
    assign(config.buildInfo.manufacturerName, "Tarvik");
}

void limit(UA_ServerConfig& config, const plant_options& options) {
    config.maxSecurityTokenLifetime =
        static_cast<UA_UInt32>(options.security_token_lifetime.count());
    config.maxSessionTimeout = static_cast<UA_Double>(options.session_timeout.count());
    config.maxSessions = options.max_sessions;
    config.maxNodesPerRead = options.max_nodes_per_read;
    if (options.max_message_bytes != 0) {
        constexpr std::uint32_t smallest_chunk = 8192; // of the protocol
        config.tcpBufSize = smallest_chunk;
        config.tcpMaxMsgSize = options.max_message_bytes;
        config.tcpMaxChunks = options.max_message_bytes / smallest_chunk;
    }
    config.allowEmptyVariables = UA_RULEHANDLING_ACCEPT;
}

void add_policies(
    UA_ServerConfig& config, const plant_options& options, const server_identity& identity
) {
    const auto borrow_bytes = [](const der_bytes& bytes) {
        return borrow({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    };
    UA_CertificateVerification_AcceptAll(&config.secureChannelPKI);
    config.secureChannelPKI.logging = config.logging;
    if (!options.trust_clients || !options.trusted_clients.empty()) {
        config.secureChannelPKI.verifyCertificate = verify_client;
        config.secureChannelPKI.context = const_cast<plant_options*>(&options); // only read
    }
    const UA_ByteString certificate = borrow_bytes(identity.certificate);
    const bool secured = needs_certificate(options);
    // Always there: endpoints are looked up over it, even where nobody may log in without security.
    require(
        UA_ServerConfig_addSecurityPolicyNone(&config, secured ? &certificate : nullptr),
        "security policy None"
    );
    config.securityPolicyNoneDiscoveryOnly = !options.endpoints.none;
    if (secured) {
        const UA_ByteString key = borrow_bytes(identity.private_key);
        require(
            UA_ServerConfig_addSecurityPolicyBasic256Sha256(&config, &certificate, &key),
            "security policy Basic256Sha256"
        );
    }
}

void add_users(UA_ServerConfig& config, const plant_options& options) {
    const UA_UsernamePasswordLogin login{borrow("user1"), borrow("password1")};
    const UA_String policy = borrow(options.encrypt_passwords ? policy_basic : policy_none);
    // Without a policy of its own a token is protected as its endpoint is.
    const bool own_policy = options.encrypt_passwords || !needs_certificate(options);
    config.allowNonePolicyPassword = !options.encrypt_passwords;
    // The access control offers certificate tokens if they can be verified when it is made.
    const auto verify = std::exchange(config.sessionPKI.verifyCertificate, nullptr);
    const UA_StatusCode status = UA_AccessControl_default(
        &config,
        options.anonymous,
        own_policy ? &policy : nullptr,
        options.users ? 1 : 0,
        options.users ? &login : nullptr
    );
    config.sessionPKI.verifyCertificate = verify;
    require(status, "users");
}

void add_endpoints(UA_ServerConfig& config, const endpoint_modes& modes) {
    struct endpoint {
        bool wanted;
        std::string_view policy;
        UA_MessageSecurityMode mode;
    };
    for (const endpoint& row : {
             endpoint{modes.none, policy_none, UA_MESSAGESECURITYMODE_NONE},
             endpoint{modes.sign, policy_basic, UA_MESSAGESECURITYMODE_SIGN},
             endpoint{modes.sign_encrypt, policy_basic, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT},
         }) {
        if (row.wanted) {
            require(UA_ServerConfig_addEndpoint(&config, borrow(row.policy), row.mode), "endpoint");
        }
    }
}

} // namespace

bool needs_certificate(const plant_options& options) noexcept {
    return options.endpoints.sign || options.endpoints.sign_encrypt ||
           (options.users && options.encrypt_passwords);
}

server_ptr make_server(
    const plant_options& options,
    std::uint16_t port,
    const server_identity& identity,
    UA_Logger& logger,
    session_list& sessions
) {
    config_owner owner{logger};
    UA_ServerConfig& config = owner.get();
    require(UA_ServerConfig_setBasics_withPort(&config, port), "server configuration");
    listen_on_loopback(config, port);
    describe(config, options);
    limit(config, options);
    add_policies(config, options, identity);
    add_users(config, options);
    add_endpoints(config, options.endpoints);
    config.context = &sessions;
    sessions.watch(config);
    server_ptr server{UA_Server_newWithConfig(&config)};
    if (!server) {
        throw plant_error("the server cannot be made");
    }
    return server;
}

} // namespace tarvik::simulator
