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

MOX_DEFINE_SLOTS(MOXSharedBuffSlots, MOX_SHARED_BUFF_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(MOXCacheSlots, MOX_CACHE_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(MOXProgressSlots, MOX_PROGRESS_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(MOXFilterSlots, MOX_FILTER_INTERFACE_METHODS)

extern TMOXInterfaceTable<MOXSharedBuffSlots::Slot> gMOXSharedBuffTable;
extern TMOXInterfaceTable<MOXCacheSlots::Slot> gMOXCacheTable;
extern TMOXInterfaceTable<MOXProgressSlots::Slot> gMOXProgressTable;
extern TMOXInterfaceTable<MOXFilterSlots::Slot> gMOXFilterTable;

// ---- Shared buffers ------------------------------------------------------------

// The shared-buffer table, loaded on first use; "Missing Interface" when it
// can't be bound.
void MOXRequireSharedBuffTable();

namespace MOXSharedBuffProcs {
// Each requires the table to be loaded (MOXRequireSharedBuffTable).
inline void AddRef(MOXSharedBuff buffer) {
  gMOXSharedBuffTable.Proc<MOXSharedBuffSlots::AddRef>()(buffer);
}
inline void* GetBuffer(MOXSharedBuff buffer) {
  return gMOXSharedBuffTable.Proc<MOXSharedBuffSlots::GetBuffer>()(buffer);
}
inline uint64_t GetSize(MOXSharedBuff buffer) {
  return gMOXSharedBuffTable.Proc<MOXSharedBuffSlots::GetSize>()(buffer);
}
// Release through the slot if the table was ever loaded: the slot is empty
// until the first load, and a no-op after process exit.
inline void Release(MOXSharedBuff buffer) {
  MOXSharedBuffReleaseProc release = gMOXSharedBuffTable.Proc<MOXSharedBuffSlots::Release>();
  if (release != nullptr) release(buffer);
}
}  // namespace MOXSharedBuffProcs

// A new shared buffer. A block handed over (`data` and `release` both
// non-null) is either owned by the new buffer or released here: never leaked.
// "Missing Interface" without the table, std::bad_alloc when the runtime gives
// null.
MOXSharedBuff MOXNewSharedBuffer(uint64_t size, void* data, MOXReleaseProc release, uintptr_t a,
                                 uintptr_t b);

// ---- Caches ----------------------------------------------------------------------

// The cache table, loaded on first use; "Missing Interface" when it can't be
// bound. One missing method of the 24 fails the whole table.
void MOXRequireCacheTable();

namespace MOXCacheProcs {
// Each requires the table to be loaded (MOXRequireCacheTable).
inline MOXCacheID NewCacheID() {
  return gMOXCacheTable.Proc<MOXCacheSlots::NewCacheID>()();
}
inline void AddRef(MOXCacheID id) {
  gMOXCacheTable.Proc<MOXCacheSlots::AddRef>()(id);
}
inline void Release(MOXCacheID id) {
  gMOXCacheTable.Proc<MOXCacheSlots::Release>()(id);
}
inline void MarkNoPurge(MOXCacheID id, uintptr_t* previous, uint32_t mark) {
  gMOXCacheTable.Proc<MOXCacheSlots::MarkNoPurge>()(id, previous, mark);
}
inline void AddClientPurge(MOXCacheClientPurgeProc proc) {
  gMOXCacheTable.Proc<MOXCacheSlots::AddClientPurge>()(proc, 1);
}
inline void RemoveClientPurge(MOXCacheClientPurgeProc proc) {
  gMOXCacheTable.Proc<MOXCacheSlots::RemoveClientPurge>()(proc, 1);
}
}  // namespace MOXCacheProcs

// Owns one reference to a new identifier of the runtime's cache.
class CMOXCacheID {
 public:
  // "Missing Interface" without the table; "couldn't create cacheID" when the
  // runtime gives none.
  CMOXCacheID();
  CMOXCacheID(const CMOXCacheID& other);
  CMOXCacheID& operator=(const CMOXCacheID&) = delete;
  ~CMOXCacheID();

  // The identifier, still owned by the handle.
  MOXCacheID ID() const { return fID; }

 private:
  MOXCacheID fID;
};

// An identifier of the runtime's cache together with one word of client data.
// It takes its own reference to the identifier; the pinned form also keeps the
// entry marked no-purge while it lives. When the table can't be bound the
// entry holds no identifier, so that it never gives back a reference it
// didn't take.
template <bool kPinned>
class TMOXCacheEntry {
 public:
  TMOXCacheEntry(MOXCacheID id, uintptr_t data);
  TMOXCacheEntry(const TMOXCacheEntry& other);
  TMOXCacheEntry& operator=(const TMOXCacheEntry&) = delete;
  // Unmarks (pinned form) and releases through the slots as last loaded.
  ~TMOXCacheEntry();

  // The identifier, null when the table couldn't be bound; the client word.
  MOXCacheID ID() const { return fID; }
  uintptr_t Data() const { return fData; }

 private:
  void Retain();

  MOXCacheID fID;
  uintptr_t fData;
};
using CMOXPinnedCacheEntry = TMOXCacheEntry<true>;
using CMOXCacheEntry = TMOXCacheEntry<false>;
extern template class TMOXCacheEntry<true>;
extern template class TMOXCacheEntry<false>;

// ---- Progress ----------------------------------------------------------------------

// Owns one reference to a progress object of the runtime. Both ways of
// making one raise "couldn't construct CMOXProgress" when the progress table
// can't be bound or `progress` is null.
class CMOXProgress {
 public:
  // Takes over the caller's reference to `progress`.
  static CMOXProgress Adopt(MOXProgress progress) { return CMOXProgress(progress, true); }
  // Takes a reference of its own, the caller keeping theirs.
  static CMOXProgress Retain(MOXProgress progress) { return CMOXProgress(progress, false); }
  CMOXProgress(const CMOXProgress& other);
  CMOXProgress& operator=(const CMOXProgress&) = delete;
  ~CMOXProgress();

  // Reports `fraction` (0 to 1) done; false asks the caller to stop.
  bool Update(double fraction) const;

  // The progress object, still owned by the handle.
  MOXProgress Progress() const { return fProgress; }

 private:
  CMOXProgress(MOXProgress progress, bool adopt);

  MOXProgress fProgress;
};

namespace MOX_T_MT {

// A progress sink implemented by the library, living in the runtime's memory.
class MOXClientProgress : public CMOXVirtualClientBase {
 public:
  // Only the low eight bits of the result count: non-zero goes on, zero asks
  // the caller to stop.
  virtual uint32_t Update(double fraction) = 0;
};

}  // namespace MOX_T_MT

// A progress object of the runtime that reports to `client`, with one
// reference for the caller. The runtime owns `client` from the call on and
// deletes it when the progress object dies. 0 when the progress table can't be
// bound, and then `client` stays the caller's.
MOXProgress MOXNewClientProgress(MOX_T_MT::MOXClientProgress* client);

// ---- Filters -------------------------------------------------------------------------

namespace MOX_T_MT {

// A data sink or filter stage implemented by the library, living in the
// runtime's memory. Write failures are thrown and reach the runtime as
// errors; the other operations return plain values, and an exception from
// them counts as 0.
class MOXClientFilter : public CMOXVirtualClientBase {
 public:
  // Takes `size` bytes; a filter passes its output on to `target`.
  virtual void Write(MOXFilter target, const void* data, uint64_t size) = 0;
  virtual int32_t Close(MOXFilter /*target*/) { return 0; }
  virtual uint32_t GetChainState() { return 0; }
  virtual int32_t SetImageParameters(uint32_t /*width*/, int16_t /*components*/) { return 0; }
  virtual int32_t SetCompressionParameters(int32_t /*quality*/) { return 0; }
};

}  // namespace MOX_T_MT

// A data sink of the runtime that writes to `client`. Null when the filter
// table can't be bound, and then `client` stays the caller's; otherwise the
// runtime owns it, also when the factory returns an error, which is thrown.
MOXFilter MOXNewClientDataSink(MOX_T_MT::MOXClientFilter* client);
// A filter in front of `target` that runs through `client`. Null when the
// filter table can't be bound, and then `client` is deleted here (also when
// binding throws); otherwise as MOXNewClientDataSink.
MOXFilter MOXNewClientFilter(MOXFilter target, MOX_T_MT::MOXClientFilter* client);
// As MOXNewClientFilter, with the image and compression parameters passed on
// to `client` as well.
MOXFilter MOXNewFilterJPEG(MOXFilter target, MOX_T_MT::MOXClientFilter* client);

// Owns one reference to a filter; releases it through the filter table's
// Release slot, when that slot was ever loaded.
class CMOXFilterRef {
 public:
  constexpr CMOXFilterRef() noexcept : fFilter(nullptr) {}
  CMOXFilterRef(const CMOXFilterRef&) = delete;
  CMOXFilterRef& operator=(const CMOXFilterRef&) = delete;
  ~CMOXFilterRef() { Reset(); }

  // Releases the filter held, if any, and takes over the caller's reference
  // to `filter`.
  void Adopt(MOXFilter filter) noexcept {
    Reset();
    fFilter = filter;
  }
  // The filter, still owned by the handle; null when empty.
  MOXFilter Filter() const { return fFilter; }

  // Releases the filter held, if any; the handle becomes empty.
  void Reset() noexcept;

 private:
  MOXFilter fFilter;
};

// The two process-wide filter handles. Empty from static initialisation on;
// their static destructors release what they hold.
extern CMOXFilterRef gMOXProcessFilters[2];

// ---- Counted release record -----------------------------------------------------------

// Called once the last count of a record goes: (context, data).
typedef void (*MOXCountedReleaseCallback)(void* context, void* data);
// Raises (`retain` true) or lowers the count of `record`.
typedef void (*MOXCountedReleaseCountProc)(void* record, bool retain);

// What a sharer of the data receives: the record, its count procedure, the
// data and one word passed through.
struct MOXCountedReleaseDescriptor {
  void* record;
  MOXCountedReleaseCountProc count;
  void* data;
  uintptr_t word;
};

// Makes a record in the runtime's memory with a count of 1 and fills
// `descriptor`. When the count falls to zero `release(context, data)` runs and
// the record is freed. The count procedure is safe from any thread.
// std::bad_alloc when the runtime has no memory.
void MOXNewCountedRelease(MOXCountedReleaseDescriptor* descriptor, void* data, void* context,
                          MOXCountedReleaseCallback release, uintptr_t word);

// The count procedure of every record.
void MOXCountedReleaseCount(void* record, bool retain);

#endif  // MOXUTILS_BINDING_HOST_WRAPPERS_H_
