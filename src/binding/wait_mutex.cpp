#include "binding/wait_mutex.h"

namespace {
const pthread_t kNoOwner = static_cast<pthread_t>(-1);
}

TOVWaitMutex::TOVWaitMutex() : fReserved(0), fOwner(kNoOwner), fDepth(0), fWaiters(0) {
  pthread_mutex_init(&fMutex, nullptr);
  pthread_cond_init(&fCondition, nullptr);
}

TOVWaitMutex::~TOVWaitMutex() {
  pthread_mutex_destroy(&fMutex);
  pthread_cond_destroy(&fCondition);
}

void TOVWaitMutex::Lock() {
  pthread_t self = pthread_self();
  pthread_mutex_lock(&fMutex);
  if (fDepth != 0 && pthread_equal(fOwner, self)) {
    ++fDepth;
  } else {
    ++fWaiters;
    // No fairness: a thread that slips in between the signal and the waiter's
    // wake-up takes the lock, and the waiter sleeps again.
    while (fDepth != 0) pthread_cond_wait(&fCondition, &fMutex);
    --fWaiters;
    ++fDepth;
    fOwner = self;
  }
  pthread_mutex_unlock(&fMutex);
}

void TOVWaitMutex::Unlock() {
  pthread_mutex_lock(&fMutex);
  if (--fDepth == 0) {
    fOwner = kNoOwner;
    if (fWaiters != 0) pthread_cond_signal(&fCondition);
  }
  pthread_mutex_unlock(&fMutex);
}
