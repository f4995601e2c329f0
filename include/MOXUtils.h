/*
 * MOXUtils.h: the three functions that libMOXUtils exports.
 *
 * Everything else the library offers is registered with the runtime at start
 * and reached through the runtime's lookup procedure:
 *
 *   MOXLookupProc lookup = ...;            // from the host's runtime
 *   if (MOXUtilsInitialize(lookup)) {
 *     POSNumberNewPOSNumberProc newNumber = (POSNumberNewPOSNumberProc)lookup(
 *         "POSNumberInterface", "NewPOSNumber", "POSNumberNewPOSNumberProc");
 *     ...
 *     MOXUtilsTerminate();
 *   }
 *
 * The symbols carry the version node "VERSION"; a host binds them with
 * dlvsym(handle, name, "VERSION").
 *
 * Threads: MOXUtilsInitialize and MOXUtilsTerminate take no lock. Call them
 * from one thread, with no other call into the library in progress; between
 * them the registered methods may be called from any thread (see each
 * interface's header for what may run concurrently on one object).
 * MOXUtilsGetVersion may be called at any time from any thread.
 */
#ifndef MOXUTILS_MOXUTILS_H_
#define MOXUTILS_MOXUTILS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The library's version, 65793 (0x10101). Reads no state; callable at any time. */
uint32_t MOXUtilsGetVersion(void);

/* Binds the library to the runtime behind `lookup` and registers its
 * interfaces. Returns 1 when started, 0 otherwise. A second call without a
 * MOXUtilsTerminate in between returns 0 and changes nothing; after a failed
 * start, MOXUtilsTerminate is the way back to a state that can start again. */
uint32_t MOXUtilsInitialize(MOXLookupProc lookup);

/* Unregisters the library's interfaces and unbinds it from the runtime. No
 * handle of the library's objects may be used afterwards. Does nothing when
 * the library is not started. */
void MOXUtilsTerminate(void);

/* Types of the three exports, for hosts that bind them at run time. */
typedef uint32_t (*MOXUtilsGetVersionProc)(void);
typedef uint32_t (*MOXUtilsInitializeProc)(MOXLookupProc lookup);
typedef void (*MOXUtilsTerminateProc)(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_MOXUTILS_H_ */
