// Objects with static storage can't follow the host's schedule by themselves:
// they are built before the host exists, may hold the host's memory and atoms,
// and die after the host may be gone. Each links itself into one process-wide
// termination list, which the library walks at start (Initialize), at stop
// (Terminate, still bound: free what is held) and at process exit (Abandon:
// forget what is held without calling the host).
//
// Members may be made and destroyed on any thread at any time (each
// temporary-file stream has one): linking and unlinking take the list's own
// short lock. The walks take none, so no member may come or go while a start,
// a stop or the exit walks the list.
#ifndef MOXUTILS_BINDING_LAZY_TERMINATE_H_
#define MOXUTILS_BINDING_LAZY_TERMINATE_H_

#include "binding/linked_list.h"
#include "binding/wait_mutex.h"

namespace MOX_T_MT {

class LazyTerminate;
using LazyTerminateList = no_construct_double_linked_list<LazyTerminate, MOXDLLEParent>;

// The one termination list of the process.
LazyTerminateList* MOXTerminationList();

class LazyTerminate : public double_linked_list_element<LazyTerminate, MOXDLLEParent> {
 public:
  // Link into, and unlink from, the termination list under its lock.
  LazyTerminate();
  ~LazyTerminate() override;

  // At start, with the host tables loaded. False fails the start.
  virtual bool Initialize() { return true; }
  // At stop, while still bound.
  virtual void Terminate() {}
  // At process exit, with no call to the host.
  virtual void Abandon() {}
};

// The walks. The start walk stops at the first member that fails or throws,
// terminates the members before it, and reports false.
bool MOXInitializeTerminationList();
void MOXTerminateTerminationList();
void MOXAbandonTerminationList();

// An object made on first use by its owner and destroyed at stop or forgotten
// at exit. The object comes from the global allocator.
template <class T>
class TMOXLazyObjectPointer : public LazyTerminate {
 public:
  TMOXLazyObjectPointer() : fObject(nullptr) {}
  ~TMOXLazyObjectPointer() override { delete fObject; }

  // The object, made now if there is none yet. Threads that ask at once for
  // the first time each make one, and all but the first to store it delete
  // their own again, so that every caller gets the same object.
  T* Get() {
    T* object = Peek();
    if (object != nullptr) return object;
    T* made = new T();
    if (__atomic_compare_exchange_n(&fObject, &object, made, false, __ATOMIC_ACQ_REL,
                                    __ATOMIC_ACQUIRE)) {
      return made;
    }
    delete made;
    return object;
  }
  // The object, or null when none was made yet.
  T* Peek() const { return __atomic_load_n(&fObject, __ATOMIC_ACQUIRE); }

  void Terminate() override {
    delete fObject;
    fObject = nullptr;
  }
  void Abandon() override { fObject = nullptr; }

 private:
  T* fObject;
};

// ---- Static caches -----------------------------------------------------------

// A cache of the library's own that the runtime may ask to purge. Nothing in
// the library links such a member yet; the hook costs nothing while the list
// is empty.
class StaticCacheMember;
using StaticCacheList = no_construct_double_linked_list<StaticCacheMember, MOXDLLEParent>;
StaticCacheList* MOXStaticCacheList();

class StaticCacheMember : public double_linked_list_element<StaticCacheMember, MOXDLLEParent> {
 public:
  StaticCacheMember() : double_linked_list_element(MOXStaticCacheList()) {}
  ~StaticCacheMember() override = default;
  virtual void PurgeCache() = 0;
  virtual void TerminateCache() = 0;
};

// End of binding: registers the purge procedure with the runtime's cache when
// there is a member. Start of unbinding: withdraws it and purges once.
void MOXRegisterStaticCacheHook();
void MOXUnregisterStaticCacheHook();
// At exit: TerminateCache on every member.
void MOXTerminateStaticCaches();

}  // namespace MOX_T_MT

#endif  // MOXUTILS_BINDING_LAZY_TERMINATE_H_
