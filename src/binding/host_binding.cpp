#include "binding/host_binding.h"

#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/host_wrappers.h"
#include "binding/lazy_terminate.h"

namespace {

constexpr uint32_t kStaticMarker = 13;

// Procedures that stand in the release slots of the host tables before the
// first binding and after process exit, so that a handle destroyed then makes
// no call into a host that may be gone.
void NoOpReleaseContainer(MOXContainer) {}
void NoOpDeleteStringAtom(MOXStringAtom) {}
MOXErrorRef NoOpErrorAddRef(MOXErrorRef error) {
  return error;
}
void NoOpErrorRelease(MOXErrorRef) {}
void NoOpSharedBuffRelease(MOXSharedBuff) {}
void NoOpFree(void*) {}

// Runs while the library's static constructors run: the slots that a late
// destructor may call get their no-op procedures, and the marker tells
// MOXBindHost that this happened.
struct StaticSetUp {
  StaticSetUp() {
    gMOXErrorTable.SetProc<MOXErrorSlots::AddRef>(&NoOpErrorAddRef);
    gMOXErrorTable.SetProc<MOXErrorSlots::Release>(&NoOpErrorRelease);
    gStaticMarker = kStaticMarker;
    gMOXContainerTable.SetProc<MOXContainerSlots::Release>(&NoOpReleaseContainer);
  }
} gStaticSetUp;

// Set by the exit hook. The library's static objects are destroyed right
// after it, so a host that still calls MOXUtilsTerminate from its own exit
// handlers must find nothing to do.
bool gExited = false;

template <typename Proc>
Proc FetchCore(const char* name) {
  return reinterpret_cast<Proc>(MOXLookupMethod("MOX", name, name));
}

}  // namespace

void MOXUtilsAtExit(void*) {
  gExited = true;
  MOX_T_MT::MOXTerminateStaticCaches();
  MOX_T_MT::MOXAbandonTerminationList();
  gMOXContainerTable.SetProc<MOXContainerSlots::Release>(&NoOpReleaseContainer);
  gMOXStringTable.SetProc<MOXStringSlots::DeleteStringAtom>(&NoOpDeleteStringAtom);
  gMOXErrorTable.SetProc<MOXErrorSlots::AddRef>(&NoOpErrorAddRef);
  gMOXErrorTable.SetProc<MOXErrorSlots::Release>(&NoOpErrorRelease);
  gMOXSharedBuffTable.SetProc<MOXSharedBuffSlots::Release>(&NoOpSharedBuffRelease);
  gMOXMemoryTable.SetProc<MOXMemorySlots::Free>(&NoOpFree);
}

bool MOXHasExited() {
  return gExited;
}

bool MOXBindHost(MOXLookupProc lookup) {
  if (gHostLookupProc != nullptr) return true;
  if (lookup == nullptr) return false;
  gHostLookupProc = lookup;
  gMOXRegisterProcAddress = FetchCore<MOXRegisterProcAddressProc>("MOXRegisterProcAddress");
  gMOXReportError = FetchCore<MOXReportErrorProc>("MOXReportError");
  gMOXUnregisterInterface = FetchCore<MOXUnregisterInterfaceProc>("MOXUnregisterInterface");
  gMOXGetUnregisterCountAddr =
      FetchCore<MOXGetUnregisterCountAddrProc>("MOXGetUnregisterCountAddr");
  gMOXIsMultiThreaded = FetchCore<MOXIsMultiThreadedProc>("MOXIsMultiThreaded");
  if (gMOXRegisterProcAddress == nullptr || gMOXReportError == nullptr ||
      gMOXUnregisterInterface == nullptr || gMOXGetUnregisterCountAddr == nullptr ||
      gMOXIsMultiThreaded == nullptr) {
    return false;
  }
  gUnregisterCountAddr = gMOXGetUnregisterCountAddr();
  gBindingComplete = false;

  if (gStaticMarker != kStaticMarker) return false;
  // The error table is not loaded yet on a first start, so a missing
  // container interface can't become a host error object; either way
  // MOXUtilsInitialize turns the throw into 0.
  if (gMOXContainerTable.Get() == nullptr) MOXThrowMissingInterface();
  gOffsetToPrimaryInstance = MOXContainerProcs::GetOffsetToPrimaryInstance();

  if (gMOXErrorTable.Get() == nullptr) return false;
  gUnknownError = CMOXError(int32_t{0});
  gOutOfMemoryError = CMOXError(int32_t{1});
  if (gUnknownError.Error() == nullptr) return false;

  if (gMOXStringTable.Get() == nullptr) return false;
  if (gMOXMemoryTable.Get() == nullptr) MOXThrowMissingInterface();
  gBindingComplete = true;

  if (!MOX_T_MT::MOXInitializeTerminationList()) return false;
  MOX_T_MT::MOXRegisterStaticCacheHook();
  return true;
}

void MOXUnbindHost() {
  if (gHostLookupProc == nullptr) return;
  MOX_T_MT::MOXUnregisterStaticCacheHook();
  MOX_T_MT::MOXTerminateTerminationList();
  gUnknownError = CMOXError();
  gOutOfMemoryError = CMOXError();
  gHostLookupProc = nullptr;
}
