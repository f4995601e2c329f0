// A lock for sections of a few instructions on objects that exist by the
// thousand (containers, filters), where a std::mutex would double their size.
#ifndef MOXHOST_SPIN_LOCK_H_
#define MOXHOST_SPIN_LOCK_H_

#include <atomic>
#include <thread>

namespace moxhost {

class SpinLock {
 public:
  void lock() {
    while (locked_.exchange(true, std::memory_order_acquire)) {
      while (locked_.load(std::memory_order_relaxed)) std::this_thread::yield();
    }
  }
  void unlock() { locked_.store(false, std::memory_order_release); }

 private:
  std::atomic<bool> locked_{false};
};

}  // namespace moxhost

#endif  // MOXHOST_SPIN_LOCK_H_
