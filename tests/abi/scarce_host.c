/*
 * A host without memory: calls the module again and again, each time with another of the call's
 * allocations failing, that one alone or all from there on. Nothing may end the process, a failed
 * call may leave nothing behind, and the next one must work. Calls that get as far as the OPC UA
 * stack are left out: it does not survive every failure.
 *
 * usage: scarce_host LIBOPCUA
 */
#include "opcua_module.h"

#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* The C library's own functions under their second names. */
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);

enum { FAR = -1, LONGEST_RUN_S = 60 };

static long until_failure = FAR; /* allocations that still work; FAR: all */
static int goes_on = 0;          /* whether all that follow the failing one fail as well */
static int has_failed = 0;
static long blocks = 0;

static int fails(void) {
    if (until_failure == FAR || until_failure-- > 0) {
        return 0;
    }
    until_failure = goes_on ? 0 : FAR;
    has_failed = 1;
    errno = ENOMEM;
    return 1;
}

static void* counted(void* memory) {
    blocks += memory != NULL;
    return memory;
}

#define SEEN __attribute__((visibility("default")))

SEEN void* malloc(size_t size) {
    return fails() ? NULL : counted(__libc_malloc(size));
}

SEEN void* calloc(size_t count, size_t size) {
    return fails() ? NULL : counted(__libc_calloc(count, size));
}

SEEN void* realloc(void* memory, size_t size) {
    if (memory == NULL) {
        return malloc(size);
    }
    if (size == 0) {
        free(memory);
        return NULL;
    }
    return fails() ? NULL : __libc_realloc(memory, size);
}

SEEN void* aligned_alloc(size_t alignment, size_t size) {
    return fails() ? NULL : counted(__libc_memalign(alignment, size));
}

SEEN void free(void* memory) {
    blocks -= memory != NULL;
    __libc_free(memory);
}

static struct {
    uint32_t (*initialize)(uint64_t, opcua_module_callback);
    uint32_t (*clean_up)(void);
    void (*information)(bool);
    uint32_t (*information_sync)(uint8_t*, uint32_t*, bool);
    uint32_t (*create)(int32_t, const uint8_t*, uint32_t);
    uint32_t (*meta_scan)(int32_t, uint32_t, const uint8_t*, uint32_t);
    uint32_t (*check)(int32_t, const uint8_t*, uint32_t);
} module;

static void find(void* library, const char* name, void* function) {
    void* const found = dlsym(library, name);
    if (found == NULL) {
        fprintf(stderr, "scarce_host: cannot find: %s\n", name);
        exit(1);
    }
    memcpy(function, &found, sizeof found);
}

static void receive(uint64_t context, const uint8_t* bytes, uint32_t size) {
    (void)context, (void)bytes, (void)size;
}

#define RECORD(text) (const uint8_t*)(text), sizeof(text) - 1

static uint32_t initialise(void) {
    return module.initialize(1, receive);
}
static uint32_t ask(void) {
    module.information(true);
    return 0;
}
static uint32_t ask_with_buffer(void) {
    static uint8_t buffer[1 << 20];
    uint32_t size = sizeof buffer;
    return module.information_sync(buffer, &size, false);
}
static uint32_t create_without_host(void) {
    return module.create(1, RECORD("{\"kind\":\"custom_sensor\",\"settings\":{}}"));
}
static uint32_t create_broken(void) {
    return module.create(1, RECORD("{\"kind\":\"custom_sensor\",\"settings\":{\"host\":[]}"));
}
static uint32_t create_unknown(void) {
    return module.create(1, RECORD("{\"kind\":\"thing\",\"settings\":{\"host\":\"h\"}}"));
}
static uint32_t check_nothing(void) {
    return module.check(1, RECORD("{\"kind\":\"connection_check\",\"settings\":{}}"));
}
static uint32_t notify_nobody(void) {
    return module.meta_scan(
        1,
        OPCUA_MODULE_META_SCAN_NOTIFICATION,
        RECORD("{\"kind\":\"opcua_notification\",\"settings\":{}}")
    );
}

static const struct {
    const char* name;
    uint32_t (*call)(void);
    uint32_t good; /* what it answers when nothing fails */
    int initialises;
} rows[] = {
    {"InitializeModule", initialise, 0, 1},
    {"GetModuleInformation", ask, 0, 0},
    {"GetModuleInformationSync", ask_with_buffer, 0, 0},
    {"CreateSensorInstance without a host", create_without_host, 2, 0},
    {"CreateSensorInstance with no record", create_broken, 2, 0},
    {"CreateSensorInstance of an unknown kind", create_unknown, 1, 0},
    {"ExecuteCheck without settings", check_nothing, 0, 0},
    {"ExecuteMetaScan without a target", notify_nobody, 2, 0},
};

/* One call with one failure, in a module of its own. `failing` is how many allocations come before.
 * returns how many blocks stayed behind */
static long run(size_t row, long failing) {
    uint32_t status = 0;
    const long before = blocks;
    if (!rows[row].initialises) {
        initialise();
    }
    has_failed = 0;
    until_failure = failing;
    status = rows[row].call();
    until_failure = FAR;
    if (status > 2 || (!has_failed && status != rows[row].good)) {
        fprintf(stderr, "scarce_host: %s: %u\n", rows[row].name, status);
        exit(1);
    }
    module.clean_up();
    return blocks - before;
}

/* Tries a failure. What stays behind once is the process's; what does so again is a leak.
 * returns whether the failure came: not when the call needs fewer allocations */
static int try(size_t row, long failing) {
    if (run(row, failing) != 0) {
        const long left = run(row, failing);
        if (left != 0) {
            fprintf(stderr, "scarce_host: %s, %ld: left %ld\n", rows[row].name, failing, left);
            exit(1);
        }
    }
    return has_failed;
}

int main(int count, char** arguments) {
    void* const library = count > 1 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    if (library == NULL) {
        fprintf(stderr, "usage: scarce_host LIBOPCUA\n");
        return 1;
    }
    alarm(LONGEST_RUN_S);
    find(library, "InitializeModule", &module.initialize);
    find(library, "CleanupModule", &module.clean_up);
    find(library, "GetModuleInformation", &module.information);
    find(library, "GetModuleInformationSync", &module.information_sync);
    find(library, "CreateSensorInstance", &module.create);
    find(library, "ExecuteMetaScan", &module.meta_scan);
    find(library, "ExecuteCheck", &module.check);
    for (size_t row = 0; row < sizeof rows / sizeof *rows; ++row) {
        /* What the process makes once is made now. */
        initialise();
        rows[row].call();
        module.clean_up();
        for (goes_on = 0; goes_on < 2; ++goes_on) {
            long tried = 0;
            while (try(row, tried)) {
                ++tried;
            }
            printf("%s: %ld failures\n", rows[row].name, tried);
        }
    }
    return 0;
}
