#include "binding/host_wrappers.h"

#include <new>

#include "binding/errors.h"
#include "binding/wait_mutex.h"

namespace {

constexpr MOXMethodRow kSharedBuffRows[] = {
    MOX_CLIENT_ROW("NewBuffer", MOXSharedBuffNewBufferV3Proc),
    MOX_CLIENT_ROW("DeleteUnowned", MOXSharedBuffDelUnownedProc),
    MOX_CLIENT_ROW("AddRef", MOXSharedBuffAddRefProc),
    MOX_CLIENT_ROW("Release", MOXSharedBuffReleaseProc),
    MOX_CLIENT_ROW("GetBuffer", MOXSharedBuffGetBufferProc),
    MOX_CLIENT_ROW("GetSize", MOXSharedBuffGetSizeProc),
    MOX_CLIENT_END_ROW,
};
static_assert(MOXRowCount(kSharedBuffRows) == 6, "shared buffers have six methods");

constexpr MOXMethodRow kCacheRows[] = {
    MOX_CLIENT_ROW("NewCacheID", MOXCacheNewCacheIDProc),
    MOX_CLIENT_ROW("AddRef", MOXCacheAddRefProc),
    MOX_CLIENT_ROW("Release", MOXCacheReleaseProc),
    MOX_CLIENT_ROW("Attach", MOXCacheAttachProcV2),
    MOX_CLIENT_ROW("Add", MOXCacheAddProc),
    MOX_CLIENT_ROW("UpdateCost", MOXCacheUpdateCostProc),
    MOX_CLIENT_ROW("ReturnCost", MOXCacheReturnCostProc),
    MOX_CLIENT_ROW("MarkNoPurge", MOXCacheMarkNoPurgeProcV2),
    MOX_CLIENT_ROW("MarkPurge", MOXCacheMarkPurgeProc),
    MOX_CLIENT_ROW("GetCacheTime", MOXCacheGetCacheTimeProc),
    MOX_CLIENT_ROW("CurrentCacheSize", MOXCurrentCacheSizeProc),
    MOX_CLIENT_ROW("NewCachePurge", MOXCacheNewCachePurgeProc),
    MOX_CLIENT_ROW("PurgeNextBlock", MOXCachePurgeNextBlockProc),
    MOX_CLIENT_ROW("DeleteCachePurge", MOXCacheDeleteCachePurgeProc),
    MOX_CLIENT_ROW("PurgeAll", MOXCachePurgeAllProc),
    MOX_CLIENT_ROW("PurgeAllStaticCaches", MOXCachePurgeAllStaticCachesProc),
    MOX_CLIENT_ROW("AddClientPurge", MOXCacheAddRemoveClientPurgeProcV2),
    MOX_CLIENT_ROW("RemoveClientPurge", MOXCacheAddRemoveClientPurgeProcV2),
    MOX_CLIENT_ROW("NewCacheSet", MOXCacheNewCacheSetProc),
    MOX_CLIENT_ROW("AddRefCacheSet", MOXCacheAddRefCacheSetProc),
    MOX_CLIENT_ROW("DeleteCacheSet", MOXCacheDeleteCacheSetProc),
    MOX_CLIENT_ROW("SearchForID", MOXCacheSearchForIDProc),
    MOX_CLIENT_ROW("RemoveID", MOXCacheRemoveIDProc),
    MOX_CLIENT_ROW("RemoveIDs", MOXCacheRemoveIDsProc),
    MOX_CLIENT_END_ROW,
};
static_assert(MOXRowCount(kCacheRows) == 24, "the cache has 24 methods");

constexpr MOXMethodRow kProgressRows[] = {
    MOX_CLIENT_ROW("NewNullProgress", MOXProgressNewNullProgressProc),
    MOX_CLIENT_ROW("NewClientProgress", MOXProgressNewClientProgressProc),
    MOX_CLIENT_ROW("AddRef", MOXProgressAddRefProc),
    MOX_CLIENT_ROW("Release", MOXProgressReleaseProc),
    MOX_CLIENT_ROW("Update", MOXProgressUpdateProc),
    MOX_CLIENT_END_ROW,
};
static_assert(MOXRowCount(kProgressRows) == 5, "progress has five methods");

constexpr MOXMethodRow kFilterRows[] = {
    MOX_CLIENT_ROW("NewNullDataSink", MOXFilterNewNullDataSinkV2Proc),
    MOX_CLIENT_ROW("NewClientDataSink", MOXFilterNewClientDataSinkV2Proc),
    MOX_CLIENT_ROW("NewIdentityFilter", MOXFilterNewIdentityFilterV2Proc),
    MOX_CLIENT_ROW("NewClientFilter", MOXFilterNewClientFilterV2Proc),
    MOX_CLIENT_ROW("NewFilterJPEG", MOXFilterNewFilterJPEGV2Proc),
    MOX_CLIENT_ROW("AddRef", MOXFilterAddRefV2Proc),
    MOX_CLIENT_ROW("Release", MOXFilterReleaseProc),
    MOX_CLIENT_ROW("Write", MOXFilterWriteV2Proc),
    MOX_CLIENT_ROW("IsFilter", MOXFilterIsFilterProc),
    MOX_CLIENT_ROW("Close", MOXFilterCloseProc),
    MOX_CLIENT_ROW("GetPostScriptFilter", MOXFilterGetPostScriptFilterProc),
    MOX_CLIENT_ROW("SetDataSink", MOXFilterSetDataSinkV2Proc),
    MOX_CLIENT_ROW("PeekTarget", MOXFilterPeekTargetProc),
    MOX_CLIENT_ROW("SetImageParameters", MOXFilterJPEGSetImageParametersProc),
    MOX_CLIENT_ROW("SetCompressionParameters", MOXFilterJPEGSetCompressionParametersProc),
    MOX_CLIENT_ROW("GetChainState", MOXFilterGetChainStateV2Proc),
    MOX_CLIENT_ROW("ResetChainState", MOXFilterResetChainStateProc),
    MOX_CLIENT_END_ROW,
};
static_assert(MOXRowCount(kFilterRows) == 17, "filters have 17 methods");

void* gSharedBuffSlots[MOXRowCount(kSharedBuffRows)];
void* gCacheSlots[MOXRowCount(kCacheRows)];
void* gProgressSlots[MOXRowCount(kProgressRows)];
void* gFilterSlots[MOXRowCount(kFilterRows)];

// Slots that the wrappers call.
enum : size_t { kSharedBuffNewBuffer = 0 };
enum : size_t { kCacheMarkNoPurge = 7, kCacheAddRef = 1, kCacheRelease = 2 };
enum : size_t {
  kProgressNewClientProgress = 1,
  kProgressAddRef = 2,
  kProgressRelease = 3,
  kProgressUpdate = 4
};
enum : size_t {
  kFilterNewClientDataSink = 1,
  kFilterNewClientFilter = 3,
  kFilterNewFilterJPEG = 4,
  kFilterRelease = 6
};

}  // namespace

// Shared buffers and caches keep their slots after a failed load; the others
// are bound on demand and read as absent after one.
MOXInterfaceTable gMOXSharedBuffTable("MOXSharedBuffInterface", kSharedBuffRows,
                                      MOXRowCount(kSharedBuffRows), gSharedBuffSlots, false);
MOXInterfaceTable gMOXCacheTable("MOXCacheInterface", kCacheRows, MOXRowCount(kCacheRows),
                                 gCacheSlots, false);
MOXInterfaceTable gMOXProgressTable("MOXProgressInterface", kProgressRows,
                                    MOXRowCount(kProgressRows), gProgressSlots, true);
MOXInterfaceTable gMOXFilterTable("MOXFilterInterface", kFilterRows, MOXRowCount(kFilterRows),
                                  gFilterSlots, true);

// ---- Shared buffers --------------------------------------------------------------

void MOXRequireSharedBuffTable() {
  if (gMOXSharedBuffTable.Get() == nullptr) MOXThrowMissingInterface();
}

MOXSharedBuff MOXNewSharedBuffer(uint64_t size, void* data, MOXReleaseProc release, uintptr_t a,
                                 uintptr_t b) {
  const bool handedOver = data != nullptr && release != nullptr;
  try {
    MOXRequireSharedBuffTable();
    MOXSharedBuff buffer = gMOXSharedBuffTable.Slot<MOXSharedBuffNewBufferV3Proc>(
        kSharedBuffNewBuffer)(size, data, release, a, b);
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
  MOXCacheReleaseProc release = gMOXCacheTable.Slot<MOXCacheReleaseProc>(kCacheRelease);
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
    MOXCacheMarkNoPurgeProcV2 mark =
        gMOXCacheTable.Slot<MOXCacheMarkNoPurgeProcV2>(kCacheMarkNoPurge);
    uintptr_t previous = 0;
    if (mark != nullptr) mark(fID, &previous, 0);
  }
  MOXCacheReleaseProc release = gMOXCacheTable.Slot<MOXCacheReleaseProc>(kCacheRelease);
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
  if (!adopt) gMOXProgressTable.Slot<MOXProgressAddRefProc>(kProgressAddRef)(fProgress);
}

CMOXProgress::CMOXProgress(const CMOXProgress& other) : fProgress(other.fProgress) {
  if (fProgress != nullptr)
    gMOXProgressTable.Slot<MOXProgressAddRefProc>(kProgressAddRef)(fProgress);
}

CMOXProgress::~CMOXProgress() {
  MOXProgressReleaseProc release = gMOXProgressTable.Slot<MOXProgressReleaseProc>(kProgressRelease);
  if (fProgress != nullptr && release != nullptr) release(fProgress);
}

bool CMOXProgress::Update(double fraction) const {
  return gMOXProgressTable.Slot<MOXProgressUpdateProc>(kProgressUpdate)(fProgress, fraction);
}

MOXProgress MOXNewClientProgress(MOX_T_MT::MOXClientProgress* client) {
  if (gMOXProgressTable.Get() == nullptr) return nullptr;
  return gMOXProgressTable.Slot<MOXProgressNewClientProgressProc>(kProgressNewClientProgress)(
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
  MOXCheck(gMOXFilterTable.Slot<MOXFilterNewClientDataSinkV2Proc>(kFilterNewClientDataSink)(
      &sink, client, &FilterWriteAdapter, &FilterReleaseAdapter));
  return sink;
}

MOXFilter MOXNewClientFilter(MOXFilter target, MOX_T_MT::MOXClientFilter* client) {
  if (!BindFilterTableOwning(client)) return nullptr;
  MOXFilter filter = nullptr;
  MOXCheck(gMOXFilterTable.Slot<MOXFilterNewClientFilterV2Proc>(kFilterNewClientFilter)(
      &filter, target, client, &FilterWriteAdapter, &FilterCloseAdapter, &FilterChainStateAdapter,
      &FilterReleaseAdapter));
  return filter;
}

MOXFilter MOXNewFilterJPEG(MOXFilter target, MOX_T_MT::MOXClientFilter* client) {
  if (!BindFilterTableOwning(client)) return nullptr;
  MOXFilter filter = nullptr;
  MOXCheck(gMOXFilterTable.Slot<MOXFilterNewFilterJPEGV2Proc>(kFilterNewFilterJPEG)(
      &filter, target, client, &FilterWriteAdapter, &FilterCloseAdapter, &FilterChainStateAdapter,
      &FilterImageParamsAdapter, &FilterCompressionParamsAdapter, &FilterReleaseAdapter));
  return filter;
}

void CMOXFilterRef::Reset() noexcept {
  MOXFilterReleaseProc release = gMOXFilterTable.Slot<MOXFilterReleaseProc>(kFilterRelease);
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
