// The door between the host and the library: the three exports, the binding
// to the runtime, and what survives process exit.
#include <cstddef>

#include "MOXUtils.h"
#include "library/entry.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/host_wrappers.h"
#include "binding/lazy_terminate.h"
#include "binding/server_tables.h"
#include "binding/utils_names.h"

extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* dsoHandle);
extern "C" void* __dso_handle;

bool gInitialized = false;
bool gAtExitRegistered = false;

namespace {

constexpr uint32_t kVersion = 65793;  // 0x10101
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

template <typename Proc>
void* Address(Proc procedure) {
  return reinterpret_cast<void*>(procedure);
}

// Runs while the library's static constructors run: the slots that a late
// destructor may call get their no-op procedures, and the marker tells
// MOXBindHost that this happened.
struct StaticSetUp {
  StaticSetUp() {
    gMOXErrorTable.SetSlot(2, Address(&NoOpErrorAddRef));
    gMOXErrorTable.SetSlot(3, Address(&NoOpErrorRelease));
    gStaticMarker = kStaticMarker;
    gMOXContainerTable.SetSlot(4, Address(&NoOpReleaseContainer));
  }
} gStaticSetUp;

// Set by the exit hook. The library's static objects are destroyed right
// after it, so a host that still calls MOXUtilsTerminate from its own exit
// handlers must find nothing to do.
bool gExited = false;

void MOXUtilsAtExit(void*) {
  gExited = true;
  MOX_T_MT::MOXTerminateStaticCaches();
  MOX_T_MT::MOXAbandonTerminationList();
  gMOXContainerTable.SetSlot(4, Address(&NoOpReleaseContainer));
  gMOXStringTable.SetSlot(1, Address(&NoOpDeleteStringAtom));
  gMOXErrorTable.SetSlot(2, Address(&NoOpErrorAddRef));
  gMOXErrorTable.SetSlot(3, Address(&NoOpErrorRelease));
  gMOXSharedBuffTable.SetSlot(3, Address(&NoOpSharedBuffRelease));
  gMOXMemoryTable.SetSlot(2, Address(&NoOpFree));
}

template <typename Proc>
Proc FetchCore(const char* name) {
  return reinterpret_cast<Proc>(MOXLookupMethod("MOX", name, name));
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
  if (gUnknownError.fError == nullptr) return false;

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

bool RegisterLibraryInterfaces() {
  MOXServerInterfaceList list = MOXInterfacesToRegister();
  for (size_t i = 0; i < list.count; ++i) {
    const MOXServerInterface* group = list.interfaces[i];
    if (!MOXRegisterMethods(group->rows, group->count, group->name)) return false;
  }
  return true;
}

void UnregisterLibraryInterfaces() {
  // A start refused before the core procedures were bound leaves nothing to
  // unregister, and no procedure to do it with.
  MOXUnregisterInterfaceProc unregister = gMOXUnregisterInterface;
  if (unregister == nullptr) return;
  MOXInterfaceNameList list = MOXInterfacesToUnregister();
  for (size_t i = 0; i < list.count; ++i) unregister(list.names[i]);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) uint32_t MOXUtilsGetVersion(void) {
  return kVersion;
}

extern "C" __attribute__((visibility("default"))) uint32_t MOXUtilsInitialize(
    MOXLookupProc lookup) {
  if (gInitialized) return 0;
  // Stays set whatever happens below: after a failed start only
  // MOXUtilsTerminate leads back to a state that can start again.
  gInitialized = true;
  try {
    uint32_t result = 0;
    if (MOXBindHost(lookup)) {
      bool namesMade = true;
      if (gMOXUtilsNames == nullptr) {
        try {
          gMOXUtilsNames = CMOXUtilsNames::New();
        } catch (...) {
          namesMade = false;
        }
      }
      if (namesMade && RegisterLibraryInterfaces()) result = 1;
    }
    // A refused binding still registers the exit hook; a thrown one does not.
    if (!gAtExitRegistered) {
      __cxa_atexit(&MOXUtilsAtExit, nullptr, &__dso_handle);
      gAtExitRegistered = true;
    }
    return result;
  } catch (...) {
    return 0;
  }
}

extern "C" __attribute__((visibility("default"))) void MOXUtilsTerminate(void) {
  if (!gInitialized || gExited) return;
  gInitialized = false;
  try {
    UnregisterLibraryInterfaces();
    if (gMOXUtilsNames != nullptr) {
      CMOXUtilsNames::Delete(gMOXUtilsNames);
      gMOXUtilsNames = nullptr;
    }
    MOXUnbindHost();
  } catch (...) {
    // The stop ends silently; the steps behind the failure do not run.
  }
}
