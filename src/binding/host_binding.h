// Binding the library to its runtime, letting go of it, and what survives
// process exit. The library's start and stop (src/library) call these around
// the registration of the interfaces; nothing else does.
//
// Threads: the start, the stop and the exit hook run on one thread, with no
// other call into the library in progress.
#ifndef MOXUTILS_BINDING_HOST_BINDING_H_
#define MOXUTILS_BINDING_HOST_BINDING_H_

#include "MOXTypes.h"

// Binds to the runtime behind `lookup`: the lookup slot, the five core
// procedures, the unregister counter, the container, error, string and memory
// tables, then the termination list's Initialize walk. True when bound, and at
// once when already bound; false when `lookup` is null, a core procedure or
// the error or string interface is missing, or the static constructors did not
// run. A missing container or memory interface throws "Missing Interface".
bool MOXBindHost(MOXLookupProc lookup);

// Undoes MOXBindHost while the runtime is still there: withdraws the cache
// purge hook, runs the termination list's Terminate walk, empties the
// process-wide error objects and clears the lookup slot. Does nothing when not
// bound.
void MOXUnbindHost();

// The exit hook, for __cxa_atexit with the library's own handle: runs when the
// process exits or the library is unloaded. Abandons what the termination and
// cache lists hold without calling the runtime, and points the release slots
// of the host tables at procedures that do nothing, so that the static
// destructors that follow make no call into a runtime that may be gone.
void MOXUtilsAtExit(void* unused);

// True once the exit hook has run: a stop that comes after it does nothing.
bool MOXHasExited();

#endif  // MOXUTILS_BINDING_HOST_BINDING_H_
