// The door between the host and the library: the three exports. The start
// binds the runtime, makes the names, registers the interfaces of every layer
// and hands the exit hook to the language runtime; the stop undoes it.
#include "library/entry.h"

#include "MOXUtils.h"
#include "binding/host_binding.h"
#include "binding/utils_names.h"
#include "library/library_interfaces.h"

extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* dsoHandle);
extern "C" void* __dso_handle;

bool gInitialized = false;
bool gAtExitRegistered = false;

namespace {

constexpr uint32_t kVersion = 65793;  // 0x10101

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
      if (namesMade && MOXRegisterLibraryInterfaces()) result = 1;
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
  if (!gInitialized || MOXHasExited()) return;
  gInitialized = false;
  try {
    MOXUnregisterLibraryInterfaces();
    if (gMOXUtilsNames != nullptr) {
      CMOXUtilsNames::Delete(gMOXUtilsNames);
      gMOXUtilsNames = nullptr;
    }
    MOXUnbindHost();
  } catch (...) {
    // The stop ends silently; the steps behind the failure do not run.
  }
}
