// The runtime's interfaces that the library binds on first use or on demand:
// shared buffers, caches, progress and filters. Each table is refreshed when
// the unregister counter has moved; what a missing table means differs from
// wrapper to wrapper and is told at each.
#ifndef MOXUTILS_BINDING_HOST_WRAPPERS_H_
#define MOXUTILS_BINDING_HOST_WRAPPERS_H_

#include <cstdint>

#include "MOXRuntimeProcs.h"
#include "binding/client_base.h"
#include "binding/host_tables.h"

extern MOXInterfaceTable gMOXSharedBuffTable;
extern MOXInterfaceTable gMOXCacheTable;
extern MOXInterfaceTable gMOXProgressTable;
extern MOXInterfaceTable gMOXFilterTable;

// ---- Shared buffers ------------------------------------------------------------

// The shared-buffer table, loaded on first use; "Missing Interface" when it
// can't be bound.
void MOXRequireSharedBuffTable();

namespace MOXSharedBuffProcs {
// Each requires the table to be loaded (MOXRequireSharedBuffTable).
inline void AddRef(MOXSharedBuff buffer) {
  gMOXSharedBuffTable.Slot<MOXSharedBuffAddRefProc>(2)(buffer);
}
inline void* GetBuffer(MOXSharedBuff buffer) {
  return gMOXSharedBuffTable.Slot<MOXSharedBuffGetBufferProc>(4)(buffer);
}
inline uint64_t GetSize(MOXSharedBuff buffer) {
  return gMOXSharedBuffTable.Slot<MOXSharedBuffGetSizeProc>(5)(buffer);
}
// Release through the slot if the table was ever loaded: the slot is empty
// until the first load, and a no-op after process exit.
inline void Release(MOXSharedBuff buffer) {
  MOXSharedBuffReleaseProc release = gMOXSharedBuffTable.Slot<MOXSharedBuffReleaseProc>(3);
  if (release != nullptr) release(buffer);
}
}  // namespace MOXSharedBuffProcs

// A new shared buffer. A block handed over (`data` and `release` both
// non-null) is either owned by the new buffer or released here: never leaked.
// "Missing Interface" without the table, std::bad_alloc when the runtime gives
// null.
MOXSharedBuff MOXNewSharedBuffer(uint64_t size, void* data, MOXReleaseProc release, uintptr_t a,
                                 uintptr_t b);

#endif  // MOXUTILS_BINDING_HOST_WRAPPERS_H_
