/*
 * Where a host keeps what a module would have to make again at some cost. A module has no files of
 * its own; without a store it makes such things once for each process.
 */
#ifndef ZUNOHELPER_STORE_H
#define ZUNOHELPER_STORE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Takes what a store holds: copies it before it returns.
 *
 * to     as handed to the load function
 * bytes  of a size that is given in bytes; null with a size of 0
 */
typedef void (*ZunoStoreGive)(void* to, const uint8_t* bytes, uint32_t size);

/*
 * Gives what was kept last under a name, by calling `give` once before it returns.
 *
 * user     the pointer given to ZunoSetStore
 * name     zero-terminated, of a-z, 0-9 and "-"; valid only during the call
 * returns  0: given; anything else: there is nothing, and nothing that was given counts
 *
 * What is not usable is asked for once more before it is made anew: processes that share a store
 * can let one of them make it while the others wait here.
 */
typedef int32_t (*ZunoStoreLoad)(void* user, const char* name, ZunoStoreGive give, void* to);

/*
 * Keeps bytes under a name, in place of what was kept there. They may hold secrets: a host keeps
 * them as it keeps passwords.
 *
 * bytes    valid only during the call
 * returns  0: kept; anything else: not kept, which the module's log notes
 */
typedef int32_t (*ZunoStoreSave)(void* user, const char* name, const uint8_t* bytes, uint32_t size);

/*
 * Sets the store of the process. A null function takes its half away. When it returns, the former
 * functions are not called any more. Thread-safe.
 *
 * The functions are called on any thread that is inside a function of the module, on several at
 * once. They must return normally, and call neither the module nor ZunoSetStore.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
void ZunoSetStore(ZunoStoreLoad load, ZunoStoreSave save, void* user);

#ifdef __cplusplus
}
#endif

#endif /* ZUNOHELPER_STORE_H */
