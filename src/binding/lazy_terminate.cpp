#include "binding/lazy_terminate.h"

#include "binding/host_wrappers.h"
#include "binding/spin_lock.h"

namespace MOX_T_MT {

namespace {
// Zeroed static storage: valid before any constructor runs.
LazyTerminateList gTerminationList;
uint32_t gTerminationListLock = 0;  // guards linking and unlinking
StaticCacheList gStaticCacheList;
bool gStaticCacheHookSet = false;

void PurgeStaticCaches() {
  for (StaticCacheMember* member = gStaticCacheList.Head(); member != nullptr;
       member = member->Next()) {
    member->PurgeCache();
  }
}

// The cache's AddClientPurge or RemoveClientPurge, when the cache interface
// can be bound.
template <MOXCacheSlots::Slot kSlot>
void CallClientPurge() {
  try {
    if (gMOXCacheTable.Get() == nullptr) return;
  } catch (...) {
    return;
  }
  gMOXCacheTable.Proc<kSlot>()(&PurgeStaticCaches, 1);
}
}  // namespace

LazyTerminate::LazyTerminate() : double_linked_list_element(Unlinked()) {
  MOXSpinLockHolder locked(&gTerminationListLock);
  LinkInto(&gTerminationList);
}

LazyTerminate::~LazyTerminate() {
  MOXSpinLockHolder locked(&gTerminationListLock);
  Unlink();
}

LazyTerminateList* MOXTerminationList() {
  return &gTerminationList;
}
StaticCacheList* MOXStaticCacheList() {
  return &gStaticCacheList;
}

bool MOXInitializeTerminationList() {
  LazyTerminate* failed = nullptr;
  for (LazyTerminate* member = gTerminationList.Head(); member != nullptr;
       member = member->Next()) {
    bool started = false;
    try {
      started = member->Initialize();
    } catch (...) {
      started = false;
    }
    if (!started) {
      failed = member;
      break;
    }
  }
  if (failed == nullptr) return true;
  for (LazyTerminate* member = gTerminationList.Head(); member != failed; member = member->Next()) {
    member->Terminate();
  }
  return false;
}

void MOXTerminateTerminationList() {
  for (LazyTerminate* member = gTerminationList.Head(); member != nullptr;
       member = member->Next()) {
    member->Terminate();
  }
}

void MOXAbandonTerminationList() {
  for (LazyTerminate* member = gTerminationList.Head(); member != nullptr;
       member = member->Next()) {
    member->Abandon();
  }
}

void MOXRegisterStaticCacheHook() {
  if (gStaticCacheList.fHead != nullptr) CallClientPurge<MOXCacheSlots::AddClientPurge>();
  gStaticCacheHookSet = true;
}

void MOXUnregisterStaticCacheHook() {
  gStaticCacheHookSet = false;
  if (gStaticCacheList.fHead != nullptr) CallClientPurge<MOXCacheSlots::RemoveClientPurge>();
  PurgeStaticCaches();
}

void MOXTerminateStaticCaches() {
  for (StaticCacheMember* member = gStaticCacheList.Head(); member != nullptr;
       member = member->Next()) {
    member->TerminateCache();
  }
}

}  // namespace MOX_T_MT
