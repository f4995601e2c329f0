// The short lock of a method-table list: a 32-bit word, 0 free and 1 held. No
// thread identity and no recursion. The first 32 rounds of waiting only pause;
// every later round also yields, so that a loaded machine lets the holder run.
#ifndef MOXUTILS_BINDING_SPIN_LOCK_H_
#define MOXUTILS_BINDING_SPIN_LOCK_H_

#include <cstdint>

// The wait, once the first exchange found the word held.
void MOXSpinLockWait(uint32_t* word);

inline void MOXSpinLockAcquire(uint32_t* word) {
  if (__atomic_exchange_n(word, 1u, __ATOMIC_ACQUIRE) != 1u) return;
  MOXSpinLockWait(word);
}

// A release store is all that giving the word up needs.
inline void MOXSpinLockRelease(uint32_t* word) {
  __atomic_store_n(word, 0u, __ATOMIC_RELEASE);
}

// Holds the spin lock for a scope, also while an exception passes.
class MOXSpinLockHolder {
 public:
  explicit MOXSpinLockHolder(uint32_t* word) : fWord(word) { MOXSpinLockAcquire(fWord); }
  ~MOXSpinLockHolder() { MOXSpinLockRelease(fWord); }
  MOXSpinLockHolder(const MOXSpinLockHolder&) = delete;
  MOXSpinLockHolder& operator=(const MOXSpinLockHolder&) = delete;

 private:
  uint32_t* fWord;
};

#endif  // MOXUTILS_BINDING_SPIN_LOCK_H_
