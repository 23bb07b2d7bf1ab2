/* The smallest host: starts the module that it is linked against and lets it say what it offers. */
#include <zunohelper/event_observer.h>
#include <zunohelper/log_sink.h>
#include <zunohelper/server_trust.h>

#include <opcua_module.h>
#include <stdio.h>

static uint32_t received = 0;

static void receive(uint64_t context, const uint8_t* bytes, uint32_t size) {
    if (context == 42 && size > 0 && bytes[0] == '{') {
        received = size;
    }
}

int main(int argument_count, char** arguments) {
    if (GetApiLevel() != OPCUA_MODULE_API_LEVEL ||
        InitializeModule(42, receive) != OPCUA_MODULE_INITIALISED) {
        return 1;
    }
    GetModuleInformation(false);
    CleanupModule();
    printf(
        "host built %s: module information of %u bytes\n",
        argument_count > 1 ? arguments[1] : "",
        received
    );
    return received > 0 ? 0 : 1;
}
