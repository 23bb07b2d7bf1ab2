/*
 * Where a host receives the log lines of a module, and which ones: C functions that
 * libZunoHelper.so has for hosts.
 */
#ifndef ZUNOHELPER_LOG_SINK_H
#define ZUNOHELPER_LOG_SINK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Receives one log line.
 *
 * user      the pointer given to ZunoSetLogSink
 * source    who writes, zero-terminated: "runtime", or "sensor 7" for the sensor with the id 7
 * severity  0 a failed check, 3 error, 4 warning, 6 info, 7 debug; the lower, the more it matters
 * text      UTF-8, no line end, not zero-terminated; valid only during the call
 * length    its length in bytes
 *
 * Called on whatever thread writes the line, from several at once. It must return normally and must
 * not call back into the module or ZunoSetLogSink.
 */
typedef void (*zuno_log_sink
)(void* user, const char* source, int32_t severity, const char* text, uint32_t length);

/*
 * Sends all log lines to `sink` from now on. Null: lines of severity 4 and below go to standard
 * error and the rest is dropped, as at the start. When it returns, the former sink is not called
 * any more. Thread-safe.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
void ZunoSetLogSink(zuno_log_sink sink, void* user);

/*
 * Has lines of a higher severity number than `highest` dropped from now on when calls that this
 * thread makes write them. They are not even put together, which is a fifth of what a scan costs:
 * for hosts that would throw them away. Other threads are not concerned; no thread drops any line
 * before it has called this.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
void ZunoSetLogThreshold(int32_t highest);

#ifdef __cplusplus
}
#endif

#endif /* ZUNOHELPER_LOG_SINK_H */
