/*
 * Where a host learns what a module does within a call: data beside the log, whose text is for
 * people. No host needs it.
 */
#ifndef ZUNOHELPER_EVENT_OBSERVER_H
#define ZUNOHELPER_EVENT_OBSERVER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Numbers stay what they are; there may be more of them later, which hosts leave alone. */
#define ZUNO_EVENT_CONNECTING 1        /* to a server begins; text: its URL */
#define ZUNO_EVENT_MAKING_KEY_PAIR 2   /* the client's own, some seconds of computing; no text */
#define ZUNO_EVENT_SESSION_OPENED 3    /* text: the server's URL */
#define ZUNO_EVENT_RETRYING 4          /* a request once more after a closed connection; no text */
#define ZUNO_EVENT_ENDPOINT_REJECTED 5 /* text: which endpoint or user token, and why */
#define ZUNO_EVENT_NOTIFICATION_FAILED 6 /* text: why nothing was written */
/* Just before the judge of server_trust.h is asked, if there is one; text: the application URI that
   the server announces together with the certificate, which does not prove it. */
#define ZUNO_EVENT_SERVER_URI 7
#define ZUNO_EVENT_CHECK_FAILED 8 /* an error made it answer no; text: the error */
/* Just after 6 and 8, if the error has a message of the catalogue; text: the message's identity,
   "#:error.opcua_connection_failed[BadTimeout]". */
#define ZUNO_EVENT_ERROR_IDENTITY 9
/* After each Read request that brought values: the oldest of them; text: when its source says that
   it came to be, in milliseconds since 1970 (UTC), a blank, and its NodeID as in the settings. If
   values come without such a time, one of them with "none" in place of the number. */
#define ZUNO_EVENT_OLDEST_VALUE 10

/*
 * Receives one event.
 *
 * user    the pointer given to ZunoSetEventObserver
 * event   one of the numbers above
 * text    UTF-8 in English, not zero-terminated, never null; valid only during the call
 * length  its length in bytes
 *
 * Called on the thread that called the module, from several at once. It must return normally and
 * must not call back into the module or ZunoSetEventObserver.
 */
typedef void (*zuno_event_observer)(void* user, int32_t event, const char* text, uint32_t length);

/*
 * Tells all events to `observer` from now on; null: to nobody, as at the start. When it returns,
 * the former observer is not called any more. Thread-safe.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
void ZunoSetEventObserver(zuno_event_observer observer, void* user);

#ifdef __cplusplus
}
#endif

#endif /* ZUNOHELPER_EVENT_OBSERVER_H */
