#include "binding/host_wrappers.h"

#include <new>

#include "binding/errors.h"
#include "binding/wait_mutex.h"

namespace {

void* gSharedBuffSlots[MOXSharedBuffSlots::kMethodCount];
void* gCacheSlots[MOXCacheSlots::kMethodCount];
void* gProgressSlots[MOXProgressSlots::kMethodCount];
void* gFilterSlots[MOXFilterSlots::kMethodCount];

}  // namespace

// Shared buffers and caches keep their slots after a failed load; the others
// are bound on demand and read as absent after one.
TMOXInterfaceTable<MOXSharedBuffSlots::Slot> gMOXSharedBuffTable(MOX_SHARED_BUFF_INTERFACE_NAME,
                                                                 gSharedBuffSlots, false);
TMOXInterfaceTable<MOXCacheSlots::Slot> gMOXCacheTable(MOX_CACHE_INTERFACE_NAME, gCacheSlots,
                                                       false);
TMOXInterfaceTable<MOXProgressSlots::Slot> gMOXProgressTable(MOX_PROGRESS_INTERFACE_NAME,
                                                             gProgressSlots, true);
TMOXInterfaceTable<MOXFilterSlots::Slot> gMOXFilterTable(MOX_FILTER_INTERFACE_NAME, gFilterSlots,
                                                         true);

// ---- Shared buffers --------------------------------------------------------------

void MOXRequireSharedBuffTable() {
  if (gMOXSharedBuffTable.Get() == nullptr) MOXThrowMissingInterface();
}

MOXSharedBuff MOXNewSharedBuffer(uint64_t size, void* data, MOXReleaseProc release, uintptr_t a,
                                 uintptr_t b) {
  const bool handedOver = data != nullptr && release != nullptr;
  try {
    MOXRequireSharedBuffTable();
    MOXSharedBuff buffer =
        gMOXSharedBuffTable.Proc<MOXSharedBuffSlots::NewBuffer>()(size, data, release, a, b);
    if (buffer == nullptr) MOXThrowBadAlloc();
    return buffer;
  } catch (...) {
    // No buffer took the block over, so it is released here, once.
    if (handedOver) release(data);
    throw;
  }
}

// ---- Caches --------------------------------------------------------------------------

void MOXRequireCacheTable() {
  if (gMOXCacheTable.Get() == nullptr) MOXThrowMissingInterface();
}

CMOXCacheID::CMOXCacheID() : fID(nullptr) {
  MOXRequireCacheTable();
  fID = MOXCacheProcs::NewCacheID();
  if (fID == nullptr) MOXThrowNewError("couldn't create cacheID", "", 0, 0, 0);
}

CMOXCacheID::CMOXCacheID(const CMOXCacheID& other) : fID(nullptr) {
  if (other.fID == nullptr) return;
  MOXRequireCacheTable();
  MOXCacheProcs::AddRef(other.fID);
  fID = other.fID;
}

CMOXCacheID::~CMOXCacheID() {
  // Through the slot as last loaded: a destructor must not bind or throw.
  MOXCacheReleaseProc release = gMOXCacheTable.Proc<MOXCacheSlots::Release>();
  if (fID != nullptr && release != nullptr) release(fID);
}

template <bool kPinned>
TMOXCacheEntry<kPinned>::TMOXCacheEntry(MOXCacheID id, uintptr_t data) : fID(id), fData(data) {
  Retain();
}

template <bool kPinned>
TMOXCacheEntry<kPinned>::TMOXCacheEntry(const TMOXCacheEntry& other)
    : fID(other.fID), fData(other.fData) {
  Retain();
}

template <bool kPinned>
void TMOXCacheEntry<kPinned>::Retain() {
  if (fID == nullptr) return;
  if (gMOXCacheTable.Get() == nullptr) {
    // Without the table no reference was taken, so none may be given back.
    fID = nullptr;
    return;
  }
  MOXCacheProcs::AddRef(fID);
  if (kPinned) {
    uintptr_t previous = 0;
    MOXCacheProcs::MarkNoPurge(fID, &previous, 1);
  }
}

template <bool kPinned>
TMOXCacheEntry<kPinned>::~TMOXCacheEntry() {
  if (fID == nullptr) return;
  if (kPinned) {
    MOXCacheMarkNoPurgeProcV2 mark = gMOXCacheTable.Proc<MOXCacheSlots::MarkNoPurge>();
    uintptr_t previous = 0;
    if (mark != nullptr) mark(fID, &previous, 0);
  }
  MOXCacheReleaseProc release = gMOXCacheTable.Proc<MOXCacheSlots::Release>();
  if (release != nullptr) release(fID);
}

template class TMOXCacheEntry<true>;
template class TMOXCacheEntry<false>;

// ---- Progress --------------------------------------------------------------------------

namespace {

[[noreturn]] void ThrowCantConstructProgress() {
  MOXThrowNewError("couldn't construct CMOXProgress", "", 0, 0, 0);
}

bool ProgressUpdateAdapter(void* client, double fraction) {
  return MOXSwallowEntry<bool>([&] {
    const uint32_t result = static_cast<MOX_T_MT::MOXClientProgress*>(client)->Update(fraction);
    return static_cast<uint8_t>(result) != 0;
  });
}

void ProgressReleaseAdapter(void* client) {
  MOXSwallowEntry<void>([&] {
    if (client != nullptr) delete static_cast<MOX_T_MT::MOXClientProgress*>(client);
  });
}

}  // namespace

CMOXProgress::CMOXProgress(MOXProgress progress, bool adopt) : fProgress(progress) {
  if (gMOXProgressTable.Get() == nullptr) {
    fProgress = nullptr;
    ThrowCantConstructProgress();
  }
  if (fProgress == nullptr) ThrowCantConstructProgress();
  if (!adopt) gMOXProgressTable.Proc<MOXProgressSlots::AddRef>()(fProgress);
}

CMOXProgress::CMOXProgress(const CMOXProgress& other) : fProgress(other.fProgress) {
  if (fProgress != nullptr) gMOXProgressTable.Proc<MOXProgressSlots::AddRef>()(fProgress);
}

CMOXProgress::~CMOXProgress() {
  MOXProgressReleaseProc release = gMOXProgressTable.Proc<MOXProgressSlots::Release>();
  if (fProgress != nullptr && release != nullptr) release(fProgress);
}

bool CMOXProgress::Update(double fraction) const {
  return gMOXProgressTable.Proc<MOXProgressSlots::Update>()(fProgress, fraction);
}

MOXProgress MOXNewClientProgress(MOX_T_MT::MOXClientProgress* client) {
  if (gMOXProgressTable.Get() == nullptr) return nullptr;
  return gMOXProgressTable.Proc<MOXProgressSlots::NewClientProgress>()(
      client, &ProgressUpdateAdapter, &ProgressReleaseAdapter);
}

// ---- Filters ------------------------------------------------------------------------------

namespace {

MOX_T_MT::MOXClientFilter* AsFilter(void* client) {
  return static_cast<MOX_T_MT::MOXClientFilter*>(client);
}

MOXErrorRef FilterWriteAdapter(void* client, MOXFilter target, const void* data, uint64_t size) {
  return MOXErrorEntry([&] { AsFilter(client)->Write(target, data, size); });
}

int32_t FilterCloseAdapter(void* client, MOXFilter target) {
  return MOXSwallowEntry<int32_t>([&] { return AsFilter(client)->Close(target); });
}

uint32_t FilterChainStateAdapter(void* client) {
  return MOXSwallowEntry<uint32_t>([&] { return AsFilter(client)->GetChainState(); });
}

int32_t FilterImageParamsAdapter(void* client, uint32_t width, int16_t components) {
  return MOXSwallowEntry<int32_t>(
      [&] { return AsFilter(client)->SetImageParameters(width, components); });
}

int32_t FilterCompressionParamsAdapter(void* client, int32_t quality) {
  return MOXSwallowEntry<int32_t>(
      [&] { return AsFilter(client)->SetCompressionParameters(quality); });
}

void FilterReleaseAdapter(void* client) {
  MOXSwallowEntry<void>([&] {
    if (client != nullptr) delete AsFilter(client);
  });
}

// Binds the filter table for a wrapper that owns `client` until the runtime
// takes it: a failure, thrown or not, deletes the object.
bool BindFilterTableOwning(MOX_T_MT::MOXClientFilter* client) {
  bool bound;
  try {
    bound = gMOXFilterTable.Get() != nullptr;
  } catch (...) {
    delete client;
    throw;
  }
  if (!bound) delete client;
  return bound;
}

}  // namespace

MOXFilter MOXNewClientDataSink(MOX_T_MT::MOXClientFilter* client) {
  // Unlike the filter wrappers, a missing table leaves the object alone.
  if (gMOXFilterTable.Get() == nullptr) return nullptr;
  MOXFilter sink = nullptr;
  MOXCheck(gMOXFilterTable.Proc<MOXFilterSlots::NewClientDataSink>()(
      &sink, client, &FilterWriteAdapter, &FilterReleaseAdapter));
  return sink;
}

MOXFilter MOXNewClientFilter(MOXFilter target, MOX_T_MT::MOXClientFilter* client) {
  if (!BindFilterTableOwning(client)) return nullptr;
  MOXFilter filter = nullptr;
  MOXCheck(gMOXFilterTable.Proc<MOXFilterSlots::NewClientFilter>()(
      &filter, target, client, &FilterWriteAdapter, &FilterCloseAdapter, &FilterChainStateAdapter,
      &FilterReleaseAdapter));
  return filter;
}

MOXFilter MOXNewFilterJPEG(MOXFilter target, MOX_T_MT::MOXClientFilter* client) {
  if (!BindFilterTableOwning(client)) return nullptr;
  MOXFilter filter = nullptr;
  MOXCheck(gMOXFilterTable.Proc<MOXFilterSlots::NewFilterJPEG>()(
      &filter, target, client, &FilterWriteAdapter, &FilterCloseAdapter, &FilterChainStateAdapter,
      &FilterImageParamsAdapter, &FilterCompressionParamsAdapter, &FilterReleaseAdapter));
  return filter;
}

void CMOXFilterRef::Reset() noexcept {
  MOXFilterReleaseProc release = gMOXFilterTable.Proc<MOXFilterSlots::Release>();
  if (fFilter != nullptr && release != nullptr) release(fFilter);
  fFilter = nullptr;
}

CMOXFilterRef gMOXProcessFilters[2];

// ---- Counted release record ------------------------------------------------------------------

namespace {

// One block of the runtime's memory, shared by every holder of the data.
struct CountedReleaseRecord {
  CountedReleaseRecord(void* data, void* context, MOXCountedReleaseCallback release)
      : fData(data), fContext(context), fRelease(release), fCount(1) {}

  void* fData;
  void* fContext;
  MOXCountedReleaseCallback fRelease;
  TOVWaitMutex fMutex;
  uint32_t fCount;
};

}  // namespace

void MOXNewCountedRelease(MOXCountedReleaseDescriptor* descriptor, void* data, void* context,
                          MOXCountedReleaseCallback release, uintptr_t word) {
  void* block = MOXMemory::AllocOrThrow(sizeof(CountedReleaseRecord));
  CountedReleaseRecord* record = new (block) CountedReleaseRecord(data, context, release);
  descriptor->record = record;
  descriptor->count = &MOXCountedReleaseCount;
  descriptor->data = data;
  descriptor->word = word;
}

void MOXCountedReleaseCount(void* opaque, bool retain) {
  CountedReleaseRecord* record = static_cast<CountedReleaseRecord*>(opaque);
  record->fMutex.Lock();
  const uint32_t count = retain ? ++record->fCount : --record->fCount;
  record->fMutex.Unlock();
  if (retain || count != 0) return;
  // The last holder: nobody else can reach the record any more.
  if (record->fRelease != nullptr) record->fRelease(record->fContext, record->fData);
  record->~CountedReleaseRecord();
  MOXMemory::Free(record);
}
