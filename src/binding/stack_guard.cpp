#include "binding/stack_guard.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace MOX_T_MT {

namespace {

constexpr uintptr_t kUnknown = 1;
constexpr size_t kMaxReserve = 256 * 1024;

// The lowest frame address that still leaves the reserve; learnt once per
// thread, since asking for the bounds can be slow (the main thread's are
// read from the process's memory map). The initial-exec model keeps the
// word in static TLS, so reading it never goes through __tls_get_addr, which
// is slower and which leak checkers intercept in a dlopened library.
__attribute__((tls_model("initial-exec"))) thread_local uintptr_t tStackFloor = 0;

uintptr_t LearnStackFloor() {
  uintptr_t floor = kUnknown;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
    void* lowest = nullptr;
    size_t size = 0;
    if (pthread_attr_getstack(&attributes, &lowest, &size) == 0 && lowest != nullptr) {
      floor = reinterpret_cast<uintptr_t>(lowest) + std::min(size / 4, kMaxReserve);
    }
    pthread_attr_destroy(&attributes);
  }
  return floor;
}

}  // namespace

// Not inlined, so that the frame asked about is a frame of the walk's depth.
[[gnu::noinline]] bool HasStackReserve() noexcept {
  if (tStackFloor == 0) tStackFloor = LearnStackFloor();
  // The frame address, not a local's: a sanitizer may keep locals elsewhere.
  const uintptr_t frame = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  return frame >= tStackFloor;
}

void CheckStackReserve() {
  if (!HasStackReserve()) throw StackExhausted();
}

}  // namespace MOX_T_MT
