/*
 * A host in C99 that knows nothing but the C headers: loads the module as the monitoring system
 * does, offers it a store, drives all ten functions through every status number that
 * needs no server, unloads it, sees that nothing stayed behind, and does it all again. Also run
 * under valgrind, where each round must give back what it took.
 *
 * usage: abi_c_host LIBOPCUA LIBZUNOHELPER ROUNDS
 */
#define _GNU_SOURCE /* RTLD_NOLOAD */
#include "opcua_module.h"
#include "zunohelper/preparation.h"
#include "zunohelper/server_trust.h"
#include "zunohelper/store.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void check(int good, int line, const char* what) {
    if (!good) {
        ++failures;
        fprintf(stderr, "c_host.c:%d: not so: %s\n", line, what);
    }
}
#define CHECK(condition) check((condition) ? 1 : 0, __LINE__, #condition)

/* The ten functions with the types that hosts compiled in. */
#define FUNCTIONS(each)                                                                            \
    each(uint32_t, GetApiLevel, (void));                                                           \
    each(uint32_t, InitializeModule, (uint64_t, opcua_module_callback));                           \
    each(uint32_t, CleanupModule, (void));                                                         \
    each(void, GetModuleInformation, (bool));                                                      \
    each(uint32_t, GetModuleInformationSync, (uint8_t*, uint32_t*, bool));                         \
    each(uint32_t, CreateSensorInstance, (int32_t, const uint8_t*, uint32_t));                     \
    each(uint32_t, ExecuteSensorScan, (int32_t));                                                  \
    each(uint32_t, DestroySensorInstance, (int32_t));                                              \
    each(uint32_t, ExecuteMetaScan, (int32_t, uint32_t, const uint8_t*, uint32_t));                \
    each(uint32_t, ExecuteCheck, (int32_t, const uint8_t*, uint32_t))
#define MEMBER(result, name, parameters) result(*name) parameters
static struct { FUNCTIONS(MEMBER); } module;

static void find(void* library, const char* name, void* function) {
    void* const found = dlsym(library, name);
    if (found == NULL) {
        fprintf(stderr, "cannot find: %s\n", name);
        exit(1);
    }
    memcpy(function, &found, sizeof found);
}

/* The comparison does not compile when the header has another type. */
#define FIND(result, name, parameters)                                                             \
    (void)sizeof(module.name == &name), find(library, #name, &module.name)

/* The arguments that are a record's bytes. */
#define RECORD(text) (const uint8_t*)(text), sizeof(text) - 1

/* What the callback received; the last message zero-terminated, cut when it is long. */
static const uint64_t context = UINT64_C(0xfedcba9876543210);
static unsigned messages = 0;
static char last_message[4096];

static void receive(uint64_t given_context, const uint8_t* bytes, uint32_t size) {
    const size_t kept = size < sizeof last_message ? size : sizeof last_message - 1;
    CHECK(given_context == context);
    CHECK(bytes != NULL && size > 0 && bytes[0] == '{' && bytes[size - 1] == '}');
    ++messages;
    memcpy(last_message, bytes, kept);
    last_message[kept] = '\0';
}

/* Whether exactly one error sensor_scan_result for the sensor has come since `before`. */
static int one_error_result(unsigned before, int sensor_id) {
    char start[80];
    snprintf(start, sizeof start, "{\"type\":\"sensor_scan_result\",\"sensor_id\":%d,", sensor_id);
    return messages == before + 1 && strncmp(last_message, start, strlen(start)) == 0 &&
           strstr(last_message, "\"response_code\":3,") != NULL &&
           strstr(last_message, "\"channels\":[]") != NULL;
}

static unsigned log_lines = 0;

static void
receive_log(void* user, const char* source, int32_t severity, const char* text, uint32_t length) {
    (void)severity;
    (void)length;
    CHECK(user == &log_lines && source != NULL && text != NULL);
    ++log_lines;
}

static void set_log_sink(const char* helper_path) {
    void (*set)(void (*)(void*, const char*, int32_t, const char*, uint32_t), void*) = NULL;
    void* const helper = dlopen(helper_path, RTLD_NOW | RTLD_NOLOAD);
    find(helper, "ZunoSetLogSink", &set);
    set(receive_log, &log_lines);
    dlclose(helper);
}

/* A store of one thing, which the first round makes and all others get. */
static char kept_name[64];
static uint8_t kept[16384];
static uint32_t kept_size = 0;
static unsigned loads = 0;
static unsigned saves = 0;

static int32_t load(void* user, const char* name, ZunoStoreGive give, void* to) {
    CHECK(user == kept);
    ++loads;
    if (kept_size == 0 || strcmp(name, kept_name) != 0) {
        return 1;
    }
    give(to, kept, kept_size);
    return 0;
}

static int32_t save(void* user, const char* name, const uint8_t* bytes, uint32_t size) {
    CHECK(user == kept && strlen(name) < sizeof kept_name && size <= sizeof kept);
    ++saves;
    snprintf(kept_name, sizeof kept_name, "%s", name);
    memcpy(kept, bytes, size);
    kept_size = size;
    return 0;
}

static void (*set_store)(ZunoStoreLoad, ZunoStoreSave, void*) = NULL;
static uint32_t (*prepare_module)(void) = NULL;
static void (*set_server_trust)(ZunoServerTrust, void*) = NULL;

static void offer_store(const char* helper_path) {
    void* const helper = dlopen(helper_path, RTLD_NOW | RTLD_NOLOAD);
    (void)sizeof(set_store == &ZunoSetStore);
    (void)sizeof(prepare_module == &ZunoPrepareModule);
    (void)sizeof(set_server_trust == &ZunoSetServerTrust);
    find(helper, "ZunoSetStore", &set_store);
    find(helper, "ZunoPrepareModule", &prepare_module);
    find(helper, "ZunoSetServerTrust", &set_server_trust);
    set_store(load, save, kept);
    set_server_trust(NULL, NULL);
    dlclose(helper);
}

/* Loading brings what the module would otherwise make; once for each load of the library. */
static void check_store(void) {
    const unsigned loads_before = loads;
    CHECK(prepare_module() == 0);
    CHECK(loads == loads_before + 1 && saves == 1);
    CHECK(strcmp(kept_name, "client-key-pair") == 0);
    CHECK(strncmp((const char*)kept, "-----BEGIN CERTIFICATE-----\n", 28) == 0);
    CHECK(prepare_module() == 0);
    CHECK(loads == loads_before + 1 && saves == 1);
    set_store(NULL, NULL, NULL);
}

/* Without a module: before InitializeModule and after CleanupModule. */
static void check_not_initialised(void) {
    const unsigned before = messages;
    uint32_t size = 1234;
    CHECK(module.GetApiLevel() == OPCUA_MODULE_API_LEVEL);
    CHECK(module.GetModuleInformationSync(NULL, NULL, true) == OPCUA_MODULE_INFORMATION_FAILED);
    CHECK(
        module.GetModuleInformationSync(NULL, &size, true) ==
        OPCUA_MODULE_INFORMATION_NOT_INITIALISED
    );
    CHECK(size == 1234);
    CHECK(module.CreateSensorInstance(1, NULL, 7) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.ExecuteSensorScan(1) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.DestroySensorInstance(1) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.ExecuteMetaScan(1, 1, RECORD("{}")) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.ExecuteCheck(1, RECORD("{}")) == OPCUA_MODULE_NOT_INITIALISED);
    module.GetModuleInformation(true);
    CHECK(module.CleanupModule() == 0 && module.CleanupModule() == 0);
    CHECK(messages == before);
}

static void check_initialisation(void) {
    CHECK(module.InitializeModule(context, NULL) == OPCUA_MODULE_INITIALISATION_FAILED);
    CHECK(module.ExecuteSensorScan(1) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.InitializeModule(context, receive) == OPCUA_MODULE_INITIALISED);
    CHECK(module.InitializeModule(~context, receive) == OPCUA_MODULE_INITIALISATION_FAILED);
}

static void check_information(void) {
    const unsigned before = messages;
    uint32_t with_texts = 0;
    uint32_t size = 0;
    uint8_t* buffer = NULL;
    module.GetModuleInformationSync(NULL, &with_texts, true);
    CHECK(module.GetModuleInformationSync(NULL, &size, false) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(size > 0 && size < with_texts);

    buffer = malloc(with_texts + 1);
    memset(buffer, '#', with_texts + 1);
    size = with_texts - 1;
    CHECK(module.GetModuleInformationSync(buffer, &size, true) == OPCUA_MODULE_INFORMATION_FAILED);
    CHECK(size == with_texts && buffer[0] == '#' && buffer[with_texts - 2] == '#');
    CHECK(module.GetModuleInformationSync(buffer, &size, true) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(size == with_texts && buffer[0] == '{' && buffer[size - 1] == '}' && buffer[size] == '#');
    size = UINT32_MAX;
    CHECK(module.GetModuleInformationSync(buffer, &size, true) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(size == with_texts && messages == before);
    free(buffer);

    module.GetModuleInformation(true);
    CHECK(messages == before + 1);
    CHECK(strncmp(last_message, "{\"type\":\"module_information\",", 29) == 0);
}

/* Settings that are no record: refused by all three calls that take one; a sensor's host is told
 * why, and the sensor's id stays free. The last two are records of sensors that cannot be made. */
static void check_failures(void) {
    static const struct {
        const uint8_t* bytes;
        uint32_t size;
    } rows[8] = {
        {NULL, 0},
        {NULL, 7},
        {RECORD("\0")},
        {(const uint8_t*)"{\"kind\":\"custom_sensor\",\"settings\":{}}", 36}, /* cut off */
        {RECORD("{\"kind\":\"\xff\",\"settings\":{}}")},
        {RECORD("{\"kind\":\"custom_sensor\"}")},
        {RECORD("{\"kind\":\"custom_sensor\",\"settings\":{}}")}, /* no host */
        {RECORD("{\"kind\":\"custom_sensor\",\"settings\":{\"host\":\"127.0.0.1\","
                "\"credentials.connection_opcua.port\":\"1\"," /* where nobody listens */
                "\"custom.connection_custom.channel1_nodeid\":\"ns=2;s=Boiler.Temperature\"}}")},
    };
    for (size_t i = 0; i < 8; ++i) {
        const int failures_before = failures;
        const unsigned before = messages;
        CHECK(module.CreateSensorInstance(5, rows[i].bytes, rows[i].size) == OPCUA_MODULE_FAILED);
        CHECK(one_error_result(before, 5));
        CHECK(module.ExecuteSensorScan(5) == OPCUA_MODULE_REFUSED);
        CHECK(module.DestroySensorInstance(5) == OPCUA_MODULE_REFUSED);
        if (i < 6) {
            CHECK(module.ExecuteCheck(5, rows[i].bytes, rows[i].size) == OPCUA_MODULE_FAILED);
            CHECK(module.ExecuteMetaScan(5, 1, rows[i].bytes, rows[i].size) == OPCUA_MODULE_FAILED);
        }
        CHECK(messages == before + 1);
        if (failures != failures_before) {
            fprintf(stderr, "  with the record in row %zu\n", i);
        }
    }
}

static void check_refusals(void) {
#define UNKNOWN_KIND RECORD("{\"kind\":\"no_such_kind\",\"settings\":{\"host\":\"127.0.0.1\"}}")
    const unsigned before = messages;
    const unsigned log_lines_before = log_lines;
    CHECK(module.CreateSensorInstance(-1, UNKNOWN_KIND) == OPCUA_MODULE_REFUSED);
    CHECK(one_error_result(before, -1));
    CHECK(module.ExecuteCheck(1, UNKNOWN_KIND) == OPCUA_MODULE_REFUSED);
    CHECK(module.ExecuteMetaScan(1, UINT32_MAX, UNKNOWN_KIND) == OPCUA_MODULE_REFUSED);
    CHECK(module.ExecuteSensorScan(INT32_MIN) == OPCUA_MODULE_REFUSED);
    CHECK(module.DestroySensorInstance(INT32_MAX) == OPCUA_MODULE_REFUSED);
    CHECK(messages == before + 1);
    CHECK(log_lines >= log_lines_before + 5); /* each refusal has its reason in the log */
}

static void check_round(const char* module_path, const char* helper_path) {
    void* const library = dlopen(module_path, RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "cannot load: %s\n", dlerror());
        exit(1);
    }
    FUNCTIONS(FIND);
    set_log_sink(helper_path);
    offer_store(helper_path);
    check_not_initialised();
    CHECK(prepare_module() == OPCUA_MODULE_NOT_INITIALISED);
    check_initialisation();
    check_store();
    check_information();
    check_failures();
    check_refusals();
    CHECK(module.CleanupModule() == 0);
    CHECK(prepare_module() == OPCUA_MODULE_NOT_INITIALISED);
    check_not_initialised();
    CHECK(dlclose(library) == 0);
    CHECK(dlopen(module_path, RTLD_NOW | RTLD_NOLOAD) == NULL);
    CHECK(dlopen(helper_path, RTLD_NOW | RTLD_NOLOAD) == NULL);
}

int main(int argument_count, char** arguments) {
    const int rounds = argument_count == 4 ? atoi(arguments[3]) : 0;
    if (rounds < 1) {
        fprintf(stderr, "usage: abi_c_host LIBOPCUA LIBZUNOHELPER ROUNDS\n");
        return 2;
    }
    for (int round = 0; round < rounds; ++round) {
        check_round(arguments[1], arguments[2]);
    }
    printf(
        "%d rounds, %u messages, %u log lines, %d failures\n", rounds, messages, log_lines, failures
    );
    return failures == 0 ? 0 : 1;
}
