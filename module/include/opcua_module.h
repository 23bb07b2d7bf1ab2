/*
 * The OPC UA monitoring module's C interface: all that a host needs to load and drive libOPCUA.so.
 *
 * Conventions
 *  1. Load libOPCUA.so with dlopen (RTLD_NOW | RTLD_LOCAL is fine) or link against it. It needs
 * libZunoHelper.so beside it. Every function is safe with any arguments described here and lets no
 * C++ exception out.
 *  2. Texts and JSON are UTF-8, with a byte count and no trailing zero.
 *  3. Any thread may call any function at any time, with one exception: the host keeps
 * InitializeModule and CleanupModule apart from every other call.
 *  4. pthread_cancel takes effect at the end of a call. Once the process exits or the library is
 * unloaded, calls answer as without a module; the exit waits for those in flight, at most 10 s.
 *  5. Results arrive through the callback, on the thread that called the function, before the
 * function returns. docs/embedding.md describes settings and messages.
 */
#ifndef OPCUA_MODULE_H
#define OPCUA_MODULE_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define OPCUA_MODULE_API __attribute__((visibility("default")))
#else
#define OPCUA_MODULE_API
#endif

/*
 * Receives one message, a JSON object.
 *
 * context  the number given to InitializeModule
 * bytes    the message; valid only during the call
 * size     its length in bytes
 *
 * The callback may call the functions below, but neither InitializeModule nor CleanupModule, and
 * ExecuteSensorScan and DestroySensorInstance answer 2 there, for every sensor. It must return
 * normally: no exception, no longjmp, no pthread_exit. Cancellation is disabled meanwhile. It may
 * exit the process.
 */
typedef void (*opcua_module_callback)(uint64_t context, const uint8_t* bytes, uint32_t size);

/* What GetApiLevel returns. */
enum { OPCUA_MODULE_API_LEVEL = 6 };

/* Status numbers of CreateSensorInstance, ExecuteSensorScan, DestroySensorInstance, ExecuteMetaScan
 * and ExecuteCheck. */
enum {
    OPCUA_MODULE_DONE = 0, /* done; an error result that was delivered counts as done */
    OPCUA_MODULE_REFUSED =
        1, /* id in use or unknown, or unknown kind; the reason is in the runtime log */
    OPCUA_MODULE_FAILED = 2,         /* something else went wrong */
    OPCUA_MODULE_NOT_INITIALISED = 3 /* InitializeModule has not succeeded yet */
};

/* Status numbers of InitializeModule. */
enum {
    OPCUA_MODULE_INITIALISED = 0,
    OPCUA_MODULE_INITIALISATION_FAILED =
        1 /* already initialised, null callback, or the module could not be built */
};

/* Status numbers of GetModuleInformationSync. */
enum {
    OPCUA_MODULE_INFORMATION_DONE = 0,
    OPCUA_MODULE_INFORMATION_FAILED =
        1, /* size is null, the buffer is too small, or another failure */
    OPCUA_MODULE_INFORMATION_NOT_INITIALISED = 2
};

/* The version of this interface, OPCUA_MODULE_API_LEVEL. Needs no initialisation. */
OPCUA_MODULE_API uint32_t GetApiLevel(void);

/*
 * Builds the module. Once; again only after CleanupModule.
 *
 * context   handed back with every message, never interpreted
 * callback  must not be null; kept until CleanupModule
 *
 * returns   OPCUA_MODULE_INITIALISED; OPCUA_MODULE_INITIALISATION_FAILED, also when a module
 *           exists, which goes on
 */
OPCUA_MODULE_API uint32_t InitializeModule(uint64_t context, opcua_module_callback callback);

/*
 * Destroys the module with all its sensors and connections; at most some 200 ms for each connection
 * that a server does not let go of.
 *
 * returns   0, also when there was no module
 */
OPCUA_MODULE_API uint32_t CleanupModule(void);

/*
 * Sends a module_information message: what the module offers, as described in docs/embedding.md.
 * Does nothing when the module is not initialised.
 *
 * load_languages  whether the message carries the texts of all languages
 */
OPCUA_MODULE_API void GetModuleInformation(bool load_languages);

/*
 * Gives the same message into a buffer of the caller.
 *
 * buffer         may be null: then only *size is set, which costs next to nothing
 * size           in: the buffer's size in bytes; out: the message's length in bytes, also when the
 *                buffer is too small
 * include_texts  whether the message carries the texts of all languages
 *
 * returns        OPCUA_MODULE_INFORMATION_DONE; _FAILED, for example when the buffer is too small,
 *                which is left untouched then; _NOT_INITIALISED
 */
OPCUA_MODULE_API uint32_t
GetModuleInformationSync(uint8_t* buffer, uint32_t* size, bool include_texts);

/*
 * Creates a sensor: parses its settings, connects and, for sensors that ask the server what there
 * is to measure, reads it once. May take as long as the connection's time-out (5 s) and, once in a
 * process, as the making of a key pair.
 *
 * sensor_id      chosen by the host, unique among living sensors
 * settings       a JSON object {"kind": ..., "settings": {...}} of at most 1 MiB
 * settings_size  its length in bytes
 *
 * returns        OPCUA_MODULE_DONE; _REFUSED for an id in use or an unknown kind; _FAILED
 *                otherwise. When it could not be built and the id is free, one error
 *                sensor_scan_result for this id tells why.
 */
OPCUA_MODULE_API uint32_t
CreateSensorInstance(int32_t sensor_id, const uint8_t* settings, uint32_t settings_size);

/*
 * Scans a sensor once and sends one sensor_scan_result, good or error. Scans of different sensors
 * run in parallel; scans of one sensor wait for each other.
 *
 * returns        OPCUA_MODULE_DONE when a result was sent; _REFUSED for an unknown id
 */
OPCUA_MODULE_API uint32_t ExecuteSensorScan(int32_t sensor_id);

/*
 * Destroys a sensor. Waits for its running scan; after it has returned, no message for this id
 * follows.
 *
 * returns        OPCUA_MODULE_DONE; _REFUSED for an unknown id
 */
OPCUA_MODULE_API uint32_t DestroySensorInstance(int32_t sensor_id);

/* The kind of meta-scan that sends a notification; there is no other. */
enum { OPCUA_MODULE_META_SCAN_NOTIFICATION = 1 };

/*
 * Runs a meta-scan: sends a notification, that is, writes one value into a variable of a server.
 * A notification_response follows whether or not that worked; its log tells what happened.
 *
 * sensor_id      any number; comes back as the response's id
 * kind           OPCUA_MODULE_META_SCAN_NOTIFICATION
 * settings       as for CreateSensorInstance, of the kind "opcua_notification"
 * settings_size  their size in bytes
 *
 * returns        OPCUA_MODULE_DONE when the value was written; _REFUSED for an unknown kind of
 *                meta-scan or notification; _FAILED for everything else
 */
OPCUA_MODULE_API uint32_t
ExecuteMetaScan(int32_t sensor_id, uint32_t kind, const uint8_t* settings, uint32_t settings_size);

/*
 * Runs a check once and sends one check_result; a check that answers "no" is done.
 *
 * check_id       comes back in the check_result
 * settings       as for CreateSensorInstance
 */
OPCUA_MODULE_API uint32_t
ExecuteCheck(int32_t check_id, const uint8_t* settings, uint32_t settings_size);

#ifdef __cplusplus
}
#endif

#endif /* OPCUA_MODULE_H */
