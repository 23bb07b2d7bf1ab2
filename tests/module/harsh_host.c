/*
 * A host that is not gentle: threads create, scan and destroy sensors over a real connection while
 * it exits, or cancels them. It ends with 0 when all went as promised; otherwise it says on
 * standard error what did not, or dies.
 *
 * usage: harsh_host LIBOPCUA exit|exit_in_callback|cancel|cancel_at_once MESSAGES RECORD...
 *        with one thread for each settings record, and the exit after so many messages
 */
#include "opcua_module.h"

#include <dlfcn.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum { MOST_THREADS = 16, BROKEN = 9, LONGEST_RUN_S = 60 };

/* A host compiles in the types of the functions that it calls. */
static uint32_t (*initialize)(uint64_t, opcua_module_callback);
static uint32_t (*create)(int32_t, const uint8_t*, uint32_t);
static uint32_t (*scan)(int32_t);
static uint32_t (*destroy)(int32_t);
static uint32_t (*clean_up)(void);

static struct {
    pthread_t thread;
    int32_t id;
    const char* record;
} rooms[MOST_THREADS];
static int threads = 0;

static atomic_uint messages = 0;
static atomic_uint wanted_messages = 0;
static pthread_mutex_t enough_mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t enough = PTHREAD_COND_INITIALIZER;
static int exits_in_callback = 0;
static int cancel_type = PTHREAD_CANCEL_DEFERRED;

static void broken(const char* what, unsigned status) {
    fprintf(stderr, "harsh_host: %s: %u\n", what, status);
    _exit(BROKEN);
}

static void find(void* library, const char* name, void* function) {
    void* const found = dlsym(library, name);
    if (found == NULL) {
        broken(name, 0);
    }
    memcpy(function, &found, sizeof found);
}

static void receive(uint64_t context, const uint8_t* bytes, uint32_t size) {
    (void)context, (void)bytes, (void)size;
    pthread_testcancel(); /* which does nothing: the call has to come to its end */
    if (atomic_fetch_add(&messages, 1) + 1 == atomic_load(&wanted_messages)) {
        if (exits_in_callback) {
            exit(0);
        }
        pthread_mutex_lock(&enough_mutex);
        pthread_cond_signal(&enough);
        pthread_mutex_unlock(&enough_mutex);
    }
}

/* Whether the call was done; when not, the module must be on its way out. */
static int good(const char* call, uint32_t status) {
    if (status != OPCUA_MODULE_DONE && status != OPCUA_MODULE_NOT_INITIALISED) {
        broken(call, status);
    }
    return status == OPCUA_MODULE_DONE;
}

/* Lives one sensor after another, until it is cancelled or the process is gone. */
static void* live(void* argument) {
    const int room = *(const int*)argument;
    const uint8_t* const record = (const uint8_t*)rooms[room].record;
    const uint32_t size = (uint32_t)strlen(rooms[room].record);
    int ignored = 0;
    pthread_setcanceltype(cancel_type, &ignored);
    for (;;) {
        const int32_t id = rooms[room].id;
        int left = 5;
        uint32_t status = create(id, record, size);
        /* The sensor of a former round, which was cancelled before it destroyed it. */
        if (status != OPCUA_MODULE_REFUSED) {
            good("CreateSensorInstance", status);
        }
        while (left-- > 0) {
            good("ExecuteSensorScan", scan(id));
            pthread_testcancel();
        }
        good("DestroySensorInstance", destroy(id));
        pthread_testcancel();
    }
    return NULL;
}

static void start_threads(void) {
    static int numbers[MOST_THREADS];
    for (int i = 0; i < threads; ++i) {
        numbers[i] = i;
        rooms[i].id = i + 1;
        if (pthread_create(&rooms[i].thread, NULL, live, &numbers[i]) != 0) {
            broken("pthread_create", 0);
        }
    }
}

static void wait_for_messages(unsigned count) {
    pthread_mutex_lock(&enough_mutex);
    atomic_store(&wanted_messages, count);
    while (atomic_load(&messages) < count) {
        pthread_cond_wait(&enough, &enough_mutex);
    }
    pthread_mutex_unlock(&enough_mutex);
}

/* Cancelled threads leave their sensors whole: they can be scanned and destroyed afterwards. */
static void cancel_in_rounds(unsigned count) {
    for (int round = 0; round < 5; ++round) {
        start_threads();
        wait_for_messages(atomic_load(&messages) + count);
        for (int i = 0; i < threads; ++i) {
            pthread_cancel(rooms[i].thread);
        }
        for (int i = 0; i < threads; ++i) {
            uint32_t status = 0;
            pthread_join(rooms[i].thread, NULL); /* which only a cancel ends */
            create(rooms[i].id, (const uint8_t*)rooms[i].record, (uint32_t)strlen(rooms[i].record));
            status = scan(rooms[i].id);
            if (status != OPCUA_MODULE_DONE) {
                broken("a scan after the cancelled one", status);
            }
        }
    }
    if (clean_up() != 0) {
        broken("CleanupModule", 1);
    }
}

int main(int count, char** arguments) {
    void* library = NULL;
    unsigned rounds = 0;
    if (count < 5 || count - 4 > MOST_THREADS) {
        broken("usage: harsh_host LIBOPCUA MODE MESSAGES RECORD...", (unsigned)count);
    }
    alarm(LONGEST_RUN_S); /* whatever hangs ends by a signal */
    tzset(); /* once, before threads do: the C library's lock is none that the sanitizer sees */
    library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        broken(dlerror(), 0);
    }
    find(library, "InitializeModule", &initialize);
    find(library, "CreateSensorInstance", &create);
    find(library, "ExecuteSensorScan", &scan);
    find(library, "DestroySensorInstance", &destroy);
    find(library, "CleanupModule", &clean_up);
    rounds = (unsigned)strtoul(arguments[3], NULL, 10);
    threads = count - 4;
    for (int i = 0; i < threads; ++i) {
        rooms[i].record = arguments[i + 4];
    }
    if (initialize(1, receive) != OPCUA_MODULE_INITIALISED) {
        broken("InitializeModule", 1);
    }
    if (strncmp(arguments[2], "cancel", strlen("cancel")) == 0) {
        if (strcmp(arguments[2], "cancel_at_once") == 0) {
            cancel_type = PTHREAD_CANCEL_ASYNCHRONOUS;
        }
        cancel_in_rounds(rounds);
        return 0;
    }
    exits_in_callback = strcmp(arguments[2], "exit_in_callback") == 0;
    if (exits_in_callback) {
        atomic_store(&wanted_messages, rounds);
        start_threads();
        pthread_exit(NULL); /* the others go on until one of them exits */
    }
    start_threads();
    wait_for_messages(rounds);
    exit(0); /* with all threads in the midst of their calls */
}
