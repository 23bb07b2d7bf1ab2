/*
 * Lets a host choose when a module does what takes long and is done once.
 */
#ifndef ZUNOHELPER_PREPARATION_H
#define ZUNOHELPER_PREPARATION_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Does now what the module would do at its first need: it loads the client's key pair from the
 * store (store.h), or makes it, which takes up to some seconds of computing. Nothing when that was
 * done before. No host needs it; one that calls it knows that later calls of the module do not take
 * so long, and what they wait for.
 *
 * returns  0: done; 2: failed, the reason is in the runtime log, and the next need tries again;
 *          3: the module is not initialised
 *
 * To be called as the module's functions are: on any thread, but for InitializeModule and
 * CleanupModule. It blocks.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
uint32_t
ZunoPrepareModule(void);

#ifdef __cplusplus
}
#endif

#endif /* ZUNOHELPER_PREPARATION_H */
