// Error objects. An error carries a message and a component as atoms, an id
// and two words for the caller. The two core errors are made at start and
// never die, so that "out of memory" can be answered when nothing can be
// allocated any more.
#ifndef MOXHOST_ERRORS_H_
#define MOXHOST_ERRORS_H_

#include <atomic>
#include <cstdint>

#include "MOXTypes.h"
#include "registry.h"

struct MOXErrorOpaque {
  std::atomic<int64_t> refs;
  bool permanent;  // core errors: counting is skipped
  MOXStringAtom message;
  MOXStringAtom component;
  int64_t id;
  uintptr_t info1;
  uintptr_t info2;
};

namespace moxhost {

// Ids of the errors the runtime makes itself, all of component "MOX". Core
// error 0 is kGeneralFailure; core error 1 is component "TOV", id 1.
enum ErrorId : int64_t {
  kGeneralFailure = 0,
  kInvalidArgument = 2,
  kNotFound = 3,
  kNotSupported = 4,
  kIOError = 5,
  kAccessDenied = 6,
  kOutOfRange = 7,
  kClosed = 8,
  kInjectedFault = 9,
};

// Core error `code`, one reference for the caller (references on core errors
// are free: they never die).
MOXErrorRef CoreError(int32_t code);
inline MOXErrorRef OutOfMemoryError() {
  return CoreError(1);
}

// A new error of component "MOX" with a printf-style message; the core
// out-of-memory error if it can't be made.
MOXErrorRef MakeError(int64_t id, const char* format, ...) __attribute__((format(printf, 2, 3)));

void ReleaseError(MOXErrorRef error);

InterfaceRows ErrorInterface();

}  // namespace moxhost

#endif  // MOXHOST_ERRORS_H_
