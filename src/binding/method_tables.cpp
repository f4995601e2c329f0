#include "binding/method_tables.h"

#include <cstring>

#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/spin_lock.h"

namespace MOX_T_MT {

MOXVTabGeneric::MOXVTabGeneric(MOXVTabListGeneric* list)
    : double_linked_list_element(list), fStamp(0), fValid(0) {
  std::memset(fProcs, 0, sizeof(void*) * list->fMethodCount);
}

MOXVTabGeneric* MOXVTabGeneric::New(MOXVTabListGeneric* list) {
  uint64_t extra = list->fMethodCount > 1 ? list->fMethodCount - 1 : 0;
  void* block = MOXMemory::AllocOrThrow(sizeof(MOXVTabGeneric) + extra * sizeof(void*));
  return new (block) MOXVTabGeneric(list);
}

// fSignature drops its atom, and the element's destructor unlinks even if
// that drop throws; the deleting form ends in Free.
MOXVTabGeneric::~MOXVTabGeneric() = default;

bool MOXFetchMethods(const MOXMethodRow* rows, size_t count, MOXContainer container, bool quiet,
                     void** procs) {
  for (size_t i = 0; i < count; ++i) {
    CMOXStringHolder procType(rows[i].procType);
    CMOXStringHolder method(rows[i].method);
    void* procedure = nullptr;
    MOXCheck(MOXContainerProcs::GetMethod(&procedure, container, method.Atom(), procType.Atom(),
                                          !quiet));
    __atomic_store_n(&procs[i], procedure, __ATOMIC_RELAXED);
    if (quiet && procedure == nullptr) return false;
  }
  return true;
}

namespace {

const char* SignatureOf(MOXContainer container) {
  if (container == nullptr) MOXThrowNoSignature();
  const char* signature = MOXPrimaryRecord(container)->signature;
  if (signature == nullptr) MOXThrowNoSignature();
  return signature;
}

// Fetches the entry's methods anew for the signature of `container`.
void Refill(MOXVTabGeneric* entry, MOXFetchProc fetch, MOXContainer container) {
  CMOXStringHolder signature(SignatureOf(container));
  entry->fSignature = std::move(signature);
  entry->fValid = fetch(container, true, entry->fProcs) ? 1 : 0;
}

}  // namespace

void** MOXLookupProcTable(MOXVTabListGeneric* list, MOXFetchProc fetch, MOXContainer container) {
  const char* signature = SignatureOf(container);
  void** procs = nullptr;
  {
    MOXSpinLockHolder lock(&list->fLock);
    uint64_t counter = MOXReadUnregisterCount();
    MOXVTabGeneric* entry = list->Head();
    while (entry != nullptr && entry->fSignature.CString() != signature) entry = entry->Next();
    if (entry == nullptr) {
      entry = MOXVTabGeneric::New(list);
      try {
        entry->fStamp = counter;
        Refill(entry, fetch, container);
      } catch (...) {
        // A new entry that could not be filled leaves the list as it was.
        delete entry;
        throw;
      }
    } else if (entry->fStamp != counter) {
      // A stale entry keeps its new stamp even if the refill throws, so the
      // same counter does not fetch again; it keeps its old validity.
      entry->fStamp = counter;
      Refill(entry, fetch, container);
    }
    if (entry->fValid) procs = entry->fProcs;
  }
  if (procs == nullptr) MOXThrowInvalidContainer();
  return procs;
}

void MOXDeleteAllEntries(MOXVTabListGeneric* list) {
  while (list->fHead != nullptr) delete list->Head();
}

void MOXVTabListOwner::Abandon() {
  // The entries' atoms and memory belong to a runtime that may be gone: forget
  // them without a call.
  if (fAbandonClears) fOwnedList->fHead = nullptr;
}

DelVTabListGeneric::DelVTabListGeneric(uint64_t methodCount, MOXFetchProc fetch)
    : LazyTerminate(), MOXVTabListGeneric(), fFetch(fetch) {
  fMethodCount = methodCount;
}

namespace {

const MOXMethodRow kDataStoreRows[] = {{"GetBlock", "MOXDataStoreGetBlockProc"}, {"", ""}};
const MOXMethodRow kSizedDataStoreRows[] = {{"GetSize", "MOXSizedDataStoreGetSizeProc"}, {"", ""}};
const MOXMethodRow kDataBlockStreamRows[] = {{"GetNextBlock", "MOXDataBlockStreamGetNextBlockProc"},
                                             {"Rewind", "MOXDataBlockStreamRewindProc"},
                                             {"", ""}};

TDelVTabList<MOXDataStoreTraits::proctable_type> gDataStoreList;
TDelVTabList<MOXSizedDataStoreTraits::proctable_type> gSizedDataStoreList;
TDelVTabList<MOXDataBlockStreamTraits::proctable_type> gDataBlockStreamList;

}  // namespace

bool MOXDataStoreTraits::proctable_type::Fetch(MOXContainer container, bool quiet, void** procs) {
  return MOXFetchMethods(kDataStoreRows, kMethodCount, container, quiet, procs);
}
bool MOXSizedDataStoreTraits::proctable_type::Fetch(MOXContainer container, bool quiet,
                                                    void** procs) {
  return MOXFetchMethods(kSizedDataStoreRows, kMethodCount, container, quiet, procs);
}
bool MOXDataBlockStreamTraits::proctable_type::Fetch(MOXContainer container, bool quiet,
                                                     void** procs) {
  return MOXFetchMethods(kDataBlockStreamRows, kMethodCount, container, quiet, procs);
}

TDelVTabList<MOXDataStoreTraits::proctable_type>& MOXDataStoreVTabList() {
  return gDataStoreList;
}
TDelVTabList<MOXSizedDataStoreTraits::proctable_type>& MOXSizedDataStoreVTabList() {
  return gSizedDataStoreList;
}
TDelVTabList<MOXDataBlockStreamTraits::proctable_type>& MOXDataBlockStreamVTabList() {
  return gDataBlockStreamList;
}

}  // namespace MOX_T_MT
