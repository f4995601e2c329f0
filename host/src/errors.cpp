#include "errors.h"

#include <cstdarg>
#include <cstdio>
#include <new>

#include "atoms.h"
#include "MOXRuntimeProcs.h"
#include "stats.h"

namespace moxhost {
namespace {

MOXErrorRef MakePermanent(const char* message, const char* component, int64_t id) {
  MOXErrorRef error = new MOXErrorOpaque;
  error->refs.store(1, std::memory_order_relaxed);
  error->permanent = true;
  error->message = PermanentAtom(message);
  error->component = PermanentAtom(component);
  error->id = id;
  error->info1 = 0;
  error->info2 = 0;
  return error;
}

struct CoreErrors {
  MOXErrorRef generalFailure = MakePermanent("general failure", "MOX", kGeneralFailure);
  MOXErrorRef outOfMemory = MakePermanent("out of memory", "TOV", 1);
};

CoreErrors& Core() {
  static CoreErrors* core = new CoreErrors;
  return *core;
}

MOXErrorRef NewErrorObject(const char* message, const char* component, int64_t id, uintptr_t info1,
                           uintptr_t info2) {
  MOXErrorRef error = new (std::nothrow) MOXErrorOpaque;
  if (error == nullptr) return OutOfMemoryError();
  error->message = InternAtom(message != nullptr ? message : "");
  error->component = InternAtom(component != nullptr ? component : "");
  if (error->message == nullptr || error->component == nullptr) {
    ReleaseAtom(error->message);
    ReleaseAtom(error->component);
    delete error;
    return OutOfMemoryError();
  }
  error->refs.store(1, std::memory_order_relaxed);
  error->permanent = false;
  error->id = id;
  error->info1 = info1;
  error->info2 = info2;
  Count(Counter::kErrors, 1);
  return error;
}

MOXErrorRef AddRefError(MOXErrorRef error) {
  if (error != nullptr && !error->permanent) error->refs.fetch_add(1, std::memory_order_relaxed);
  return error;
}

MOXStringAtom GetErrorMessage(MOXErrorRef error) {
  return error != nullptr ? error->message : nullptr;
}

MOXStringAtom GetComponent(MOXErrorRef error) {
  return error != nullptr ? error->component : nullptr;
}

int64_t GetID(MOXErrorRef error) {
  return error != nullptr ? error->id : 0;
}

void GetErrorInfo(MOXErrorRef error, uintptr_t* info1, uintptr_t* info2) {
  if (info1 != nullptr) *info1 = error != nullptr ? error->info1 : 0;
  if (info2 != nullptr) *info2 = error != nullptr ? error->info2 : 0;
}

}  // namespace

MOXErrorRef CoreError(int32_t code) {
  // Codes other than 0 and 1 have no meaning of their own: a general failure.
  return code == 1 ? Core().outOfMemory : Core().generalFailure;
}

MOXErrorRef MakeError(int64_t id, const char* format, ...) {
  char message[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(message, sizeof message, format, args);
  va_end(args);
  return NewErrorObject(message, "MOX", id, 0, 0);
}

void ReleaseError(MOXErrorRef error) {
  if (error == nullptr || error->permanent) return;
  if (error->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  ReleaseAtom(error->message);
  ReleaseAtom(error->component);
  delete error;
  Count(Counter::kErrors, -1);
}

InterfaceRows ErrorInterface() {
  static const MethodRow rows[] = {
      {"NewError", "MOXNewErrorProc", ProcAddress<MOXNewErrorProc>(NewErrorObject)},
      {"GetCoreError", "MOXGetCoreErrorProc", ProcAddress<MOXGetCoreErrorProc>(CoreError)},
      {"AddRef", "MOXErrorAddRefProcV2", ProcAddress<MOXErrorAddRefProcV2>(AddRefError)},
      {"Release", "MOXErrorReleaseProc", ProcAddress<MOXErrorReleaseProc>(ReleaseError)},
      {"GetErrorMessage", "MOXErrorGetMessageProc",
       ProcAddress<MOXErrorGetMessageProc>(GetErrorMessage)},
      {"GetComponent", "MOXErrorGetComponentProc",
       ProcAddress<MOXErrorGetComponentProc>(GetComponent)},
      {"GetID", "MOXErrorGetIDProc", ProcAddress<MOXErrorGetIDProc>(GetID)},
      {"GetErrorInfo", "MOXGetErrorInfoProc", ProcAddress<MOXGetErrorInfoProc>(GetErrorInfo)},
  };
  return {"MOXErrorInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
