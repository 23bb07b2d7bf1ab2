/*
 * The baseline of the plugin's benchmark: connects with the OPC UA stack, reads one value and
 * prints it, as simply as one would write it. It has a key pair, because the module's client has.
 *
 * usage: bare_program URL NODEID PAIR, the pair in PEM, certificate first
 */
#define _GNU_SOURCE /* of the stack's headers */
#include <stdio.h>
#include <string.h>

#include <open62541/client_config_default.h>
#include <open62541/client_highlevel.h>
#include <open62541/plugin/pki_default.h>

static void silence(
    void* context, UA_LogLevel level, UA_LogCategory category, const char* text, va_list arguments
) {
    (void)context, (void)level, (void)category, (void)text, (void)arguments;
}

int main(int count, char** arguments) {
    static UA_Logger silent = {silence, NULL, NULL};
    static char pair[16384];
    UA_ClientConfig fresh;
    UA_ByteString certificate = {0, (UA_Byte*)pair};
    UA_ByteString private_key;
    FILE* const file = count == 4 ? fopen(arguments[3], "r") : NULL;
    if (file == NULL || fread(pair, 1, sizeof pair - 1, file) == 0) {
        return 2;
    }
    fclose(file);
    private_key.data = (UA_Byte*)strstr(pair + 1, "-----BEGIN ");
    if (private_key.data == NULL) {
        return 2;
    }
    private_key.length = strlen((char*)private_key.data);
    certificate.length = (size_t)(private_key.data - certificate.data);

    memset(&fresh, 0, sizeof fresh);
    fresh.logging = &silent;
    UA_ClientConfig_setDefault(&fresh);
    UA_Client* const client = UA_Client_newWithConfig(&fresh);
    UA_ClientConfig* const config = UA_Client_getConfig(client);
    UA_ClientConfig_setDefaultEncryption(config, certificate, private_key, NULL, 0, NULL, 0);
    UA_CertificateVerification_AcceptAll(&config->certificateVerification);
    config->securityMode = UA_MESSAGESECURITYMODE_NONE;

    UA_NodeId node = UA_NODEID_NULL;
    UA_Variant value;
    UA_Variant_init(&value);
    UA_NodeId_parse(&node, UA_STRING(arguments[2]));
    const int good = UA_Client_connect(client, arguments[1]) == UA_STATUSCODE_GOOD &&
                     UA_Client_readValueAttribute(client, node, &value) == UA_STATUSCODE_GOOD &&
                     UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_DOUBLE]);
    if (good) {
        printf("OK - %g\n", *(UA_Double*)value.data);
    }
    UA_Variant_clear(&value);
    UA_NodeId_clear(&node);
    UA_Client_delete(client);
    return good ? 0 : 1;
}
