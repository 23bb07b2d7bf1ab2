/*
 * A host in C99 that knows nothing but opcua_module.h: loads the module as the monitoring system
 * does, drives all ten functions through every status number that needs no server, unloads it, sees
 * that nothing stayed behind, and does it all again. Also run under valgrind, where each round must
 * give back what it took.
 *
 * usage: abi_c_host LIBOPCUA LIBZUNOHELPER ROUNDS
 */
#define _GNU_SOURCE /* RTLD_NOLOAD */
#include "loaded_module.h"
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

/* What the callback received; the last message without blanks, zero-terminated, cut when it is
 * long. */
static const uint64_t context = UINT64_C(0xfedcba9876543210);
static unsigned messages = 0;
static char last_message[4096];

static void receive(uint64_t given_context, const uint8_t* bytes, uint32_t size) {
    size_t used = 0;
    CHECK(given_context == context);
    CHECK(bytes != NULL && size > 0 && bytes[0] == '{' && bytes[size - 1] == '}');
    ++messages;
    for (uint32_t i = 0; i < size && used + 1 < sizeof last_message; ++i) {
        if (bytes[i] != ' ') {
            last_message[used++] = (char)bytes[i];
        }
    }
    last_message[used] = '\0';
}

/* Whether exactly one error sensor_scan_result for the sensor has come since `before`. */
static int one_error_result(unsigned before, int sensor_id) {
    char id[64];
    snprintf(id, sizeof id, "\"sensor_id\":%d,", sensor_id);
    return messages == before + 1 &&
           strncmp(last_message, "{\"type\":\"sensor_scan_result\",", 29) == 0 &&
           strstr(last_message, id) != NULL && strstr(last_message, "\"response_code\":3,") != NULL;
}

static uint32_t create_from_text(int32_t id, const char* text) {
    return module.create(id, (const uint8_t*)text, (uint32_t)strlen(text));
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
    CHECK(helper != NULL);
    if (helper != NULL) {
        find(helper, "ZunoSetLogSink", &set);
        set(receive_log, &log_lines);
        dlclose(helper);
    }
}

/* Without a module: before InitializeModule and after CleanupModule. */
static void check_not_initialised(void) {
    static const uint8_t record[] = "{\"kind\":\"custom_sensor\",\"settings\":{}}";
    const uint32_t record_size = sizeof record - 1;
    const unsigned before = messages;
    uint32_t size = 1234;

    CHECK(module.get_api_level() == OPCUA_MODULE_API_LEVEL);
    CHECK(module.get_information_sync(NULL, NULL, true) == OPCUA_MODULE_INFORMATION_FAILED);
    CHECK(
        module.get_information_sync(NULL, &size, true) == OPCUA_MODULE_INFORMATION_NOT_INITIALISED
    );
    CHECK(size == 1234);
    CHECK(module.create(1, record, record_size) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.create(1, NULL, 7) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.scan(1) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.destroy(1) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.meta_scan(1, 1, record, record_size) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.check(1, record, record_size) == OPCUA_MODULE_NOT_INITIALISED);
    module.get_information(true);
    CHECK(module.cleanup() == 0);
    CHECK(module.cleanup() == 0);
    CHECK(messages == before);
}

static void check_initialisation(void) {
    CHECK(module.initialize(context, NULL) == OPCUA_MODULE_INITIALISATION_FAILED);
    CHECK(module.scan(1) == OPCUA_MODULE_NOT_INITIALISED);
    CHECK(module.initialize(context, receive) == OPCUA_MODULE_INITIALISED);
    CHECK(module.initialize(~context, receive) == OPCUA_MODULE_INITIALISATION_FAILED);
    CHECK(module.initialize(context, NULL) == OPCUA_MODULE_INITIALISATION_FAILED);
    CHECK(module.get_api_level() == OPCUA_MODULE_API_LEVEL);
}

static void check_information(void) {
    const unsigned before = messages;
    uint32_t with_texts = 0;
    uint32_t size = 0;
    uint8_t* buffer = NULL;

    CHECK(module.get_information_sync(NULL, NULL, false) == OPCUA_MODULE_INFORMATION_FAILED);
    CHECK(module.get_information_sync(NULL, &with_texts, true) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(module.get_information_sync(NULL, &size, false) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(size > 0 && size < with_texts);

    buffer = malloc(with_texts + 1);
    memset(buffer, '#', with_texts + 1);
    size = with_texts - 1;
    CHECK(module.get_information_sync(buffer, &size, true) == OPCUA_MODULE_INFORMATION_FAILED);
    CHECK(size == with_texts && buffer[0] == '#' && buffer[with_texts - 2] == '#');
    CHECK(module.get_information_sync(buffer, &size, true) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(size == with_texts && buffer[0] == '{' && buffer[size - 1] == '}' && buffer[size] == '#');
    size = UINT32_MAX;
    CHECK(module.get_information_sync(buffer, &size, true) == OPCUA_MODULE_INFORMATION_DONE);
    CHECK(size == with_texts);
    CHECK(messages == before);

    module.get_information(true);
    CHECK(messages == before + 1);
    receive(context, buffer, size); /* the callback's message and this one begin alike */
    CHECK(strncmp(last_message, "{\"type\":\"module_information\",", 29) == 0);
    free(buffer);
}

/* Settings that are no record: refused by all three calls that take one; a sensor's host is told
 * why. */
static void check_malformed_records(void) {
    static const struct {
        const char* name;
        const char* bytes;
        uint32_t size;
    } rows[] = {
        {"nothing", "", 0},
        {"null pointer without bytes", NULL, 0},
        {"null pointer with bytes", NULL, 7},
        {"zero byte", "\0", 1},
        {"no JSON", "kind", 4},
        {"cut off", "{\"kind\":\"custom_sensor\",\"settings\":{}", 36},
        {"followed by more", "{\"kind\":\"custom_sensor\",\"settings\":{}}}", 39},
        {"array", "[]", 2},
        {"no kind", "{\"settings\":{}}", 15},
        {"no settings", "{\"kind\":\"custom_sensor\"}", 24},
        {"kind is a number", "{\"kind\":1,\"settings\":{}}", 24},
        {"array among the settings", "{\"kind\":\"custom_sensor\",\"settings\":{\"host\":[]}}", 47},
        {"invalid UTF-8", "{\"kind\":\"\xff\",\"settings\":{}}", 26},
        {"no host", "{\"kind\":\"custom_sensor\",\"settings\":{}}", 38},
    };
    for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        const uint8_t* const bytes = (const uint8_t*)rows[i].bytes;
        const int failures_before = failures;
        const unsigned before = messages;
        CHECK(module.create(5, bytes, rows[i].size) == OPCUA_MODULE_FAILED);
        CHECK(one_error_result(before, 5));
        CHECK(module.scan(5) == OPCUA_MODULE_REFUSED);
        if (i + 1 <
            sizeof rows / sizeof rows[0]) { /* the last is a record; only the sensor needs a host */
            CHECK(module.check(5, bytes, rows[i].size) == OPCUA_MODULE_FAILED);
            CHECK(module.meta_scan(5, 1, bytes, rows[i].size) == OPCUA_MODULE_FAILED);
        }
        CHECK(messages == before + 1);
        if (failures != failures_before) {
            fprintf(stderr, "  with the record: %s\n", rows[i].name);
        }
    }
}

static void check_refusals(void) {
    static const uint8_t record[] =
        "{\"kind\":\"no_such_kind\",\"settings\":{\"host\":\"127.0.0.1\"}}";
    const uint32_t size = sizeof record - 1;
    const unsigned before = messages;
    const unsigned log_lines_before = log_lines;

    CHECK(module.create(-1, record, size) == OPCUA_MODULE_REFUSED);
    CHECK(one_error_result(before, -1));
    CHECK(module.check(1, record, size) == OPCUA_MODULE_REFUSED);
    CHECK(module.meta_scan(1, UINT32_MAX, record, size) == OPCUA_MODULE_REFUSED);
    CHECK(module.scan(INT32_MIN) == OPCUA_MODULE_REFUSED);
    CHECK(module.destroy(INT32_MAX) == OPCUA_MODULE_REFUSED);
    CHECK(messages == before + 1);
    CHECK(log_lines >= log_lines_before + 5); /* each refusal has its reason in the log */
}

/* A record larger than the limit of 1 MiB must be turned away, not read. */
static void check_oversized_record(void) {
    const uint32_t size = (1u << 20) + 1;
    const unsigned before = messages;
    uint8_t* const blanks = malloc(size);
    memset(blanks, ' ', size);
    CHECK(module.create(6, blanks, size) == OPCUA_MODULE_FAILED);
    CHECK(one_error_result(before, 6));
    free(blanks);
}

/* A port that is taken but on which nobody listens, so that connecting is refused at once. */
static void check_closed_port(void) {
    struct sockaddr_in address;
    socklen_t length = sizeof address;
    char record[512];
    const int taken = socket(AF_INET, SOCK_STREAM, 0);

    memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    CHECK(bind(taken, (struct sockaddr*)&address, sizeof address) == 0);
    CHECK(getsockname(taken, (struct sockaddr*)&address, &length) == 0);
    snprintf(
        record,
        sizeof record,
        "{\"kind\":\"custom_sensor\",\"settings\":{\"host\":\"127.0.0.1\","
        "\"credentials.connection_opcua.port\":\"%u\",\"custom.connection_custom.channel1_nodeid\":"
        "\"ns=2;s=Boiler.Temperature\"}}",
        (unsigned)ntohs(address.sin_port)
    );
    for (int attempt = 0; attempt < 2; ++attempt) { /* the id stays free */
        const unsigned before = messages;
        CHECK(create_from_text(7, record) == OPCUA_MODULE_FAILED);
        CHECK(one_error_result(before, 7));
        CHECK(strstr(last_message, "\"channels\":[]") != NULL);
        CHECK(module.scan(7) == OPCUA_MODULE_REFUSED);
        CHECK(module.destroy(7) == OPCUA_MODULE_REFUSED);
    }
    close(taken);
}

static void check_round(const char* module_path, const char* helper_path) {
    void* const library = dlopen(module_path, RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "cannot load: %s\n", dlerror());
        exit(1);
    }
    find_all(library);
    if (failures != 0) {
        exit(1);
    }
    set_log_sink(helper_path);
    check_not_initialised();
    check_initialisation();
    check_information();
    check_malformed_records();
    check_refusals();
    check_oversized_record();
    check_closed_port();
    CHECK(module.cleanup() == 0);
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
