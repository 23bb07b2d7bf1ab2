/*
 * The module as a loaded library: its ten functions under the names of the header, and CHECK, which
 * counts what is not as it should be. For the one file that is the host.
 */
#ifndef OPCUA_TESTS_LOADED_MODULE_H
#define OPCUA_TESTS_LOADED_MODULE_H

#include "opcua_module.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void check(int good, int line, const char* what) {
    if (!good) {
        ++failures;
        fprintf(stderr, "c_host.c:%d: not so: %s\n", line, what);
    }
}
#define CHECK(condition) check((condition) ? 1 : 0, __LINE__, #condition)

/* The ten functions, in the order of the header. */
static struct {
    uint32_t (*get_api_level)(void);
    uint32_t (*initialize)(uint64_t, opcua_module_callback);
    uint32_t (*cleanup)(void);
    void (*get_information)(bool);
    uint32_t (*get_information_sync)(uint8_t*, uint32_t*, bool);
    uint32_t (*create)(int32_t, const uint8_t*, uint32_t);
    uint32_t (*scan)(int32_t);
    uint32_t (*destroy)(int32_t);
    uint32_t (*meta_scan)(int32_t, uint32_t, const uint8_t*, uint32_t);
    uint32_t (*check)(int32_t, const uint8_t*, uint32_t);
} module;

static void find(void* library, const char* name, void* function) {
    void* const found = dlsym(library, name);
    CHECK(found != NULL);
    memcpy(function, &found, sizeof found);
}

static void find_all(void* library) {
    find(library, "GetApiLevel", &module.get_api_level);
    find(library, "InitializeModule", &module.initialize);
    find(library, "CleanupModule", &module.cleanup);
    find(library, "GetModuleInformation", &module.get_information);
    find(library, "GetModuleInformationSync", &module.get_information_sync);
    find(library, "CreateSensorInstance", &module.create);
    find(library, "ExecuteSensorScan", &module.scan);
    find(library, "DestroySensorInstance", &module.destroy);
    find(library, "ExecuteMetaScan", &module.meta_scan);
    find(library, "ExecuteCheck", &module.check);
}

#endif /* OPCUA_TESTS_LOADED_MODULE_H */
