#include "binding/spin_lock.h"

#include <sched.h>

namespace {
inline void PauseHint() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}
}  // namespace

void MOXSpinLockWait(uint32_t* word) {
  for (;;) {
    uint32_t rounds = 1;
    while (__atomic_load_n(word, __ATOMIC_RELAXED) != 0u) {
      PauseHint();
      if (rounds > 32) sched_yield();
      ++rounds;
    }
    if (__atomic_exchange_n(word, 1u, __ATOMIC_ACQUIRE) != 1u) return;
  }
}
