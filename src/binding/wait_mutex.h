// TOVWaitMutex: a recursive lock over a pthread mutex and condition, meant for
// holds of any length. The inner mutex is held only for the few instructions
// of Lock and Unlock; a waiter sleeps on the condition.
#ifndef MOXUTILS_BINDING_WAIT_MUTEX_H_
#define MOXUTILS_BINDING_WAIT_MUTEX_H_

#include <pthread.h>

#include <cstdint>

class TOVWaitMutex {
 public:
  TOVWaitMutex();
  ~TOVWaitMutex();
  TOVWaitMutex(const TOVWaitMutex&) = delete;
  TOVWaitMutex& operator=(const TOVWaitMutex&) = delete;

  // Takes the lock; the owner may take it again and must unlock as often.
  void Lock();
  // Gives up one level. Only the owner may call it.
  void Unlock();

 private:
  pthread_mutex_t fMutex;
  [[maybe_unused]] uint8_t fReserved;  // cleared, never read
  pthread_cond_t fCondition;
  pthread_t fOwner;  // all bits set while free
  uint32_t fDepth;
  uint32_t fWaiters;
};

// Holds a TOVWaitMutex for a scope.
class TOVWaitMutexLocker {
 public:
  explicit TOVWaitMutexLocker(TOVWaitMutex& mutex) : fMutex(mutex) { fMutex.Lock(); }
  ~TOVWaitMutexLocker() { fMutex.Unlock(); }
  TOVWaitMutexLocker(const TOVWaitMutexLocker&) = delete;
  TOVWaitMutexLocker& operator=(const TOVWaitMutexLocker&) = delete;

 private:
  TOVWaitMutex& fMutex;
};

#endif  // MOXUTILS_BINDING_WAIT_MUTEX_H_
