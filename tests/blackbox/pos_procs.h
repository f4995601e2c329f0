// The procedures of a foreign component, fetched through the lookup procedure
// alone, with the few conveniences the black-box tests share.
#ifndef MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_
#define MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_

#include "moxhost/component_procs.h"

namespace moxtest {

struct POSProcs : moxhost::ComponentProcs {
  uint32_t RefCount(MOXContainer object) const { return *container.DebugGetRefCountAddr(object); }
  // Takes a reference, as a component that keeps an object does.
  MOXContainer Keep(MOXContainer object) const {
    if (object != nullptr) container.AddRef(object);
    return object;
  }
  // Drops an object that nobody holds (count zero): owns it, then lets it go.
  void Drop(MOXContainer object) const { container.Release(Keep(object)); }

  // An atom of a C string that lives to the end of the full expression.
  struct Atom {
    const POSProcs& p;
    MOXStringAtom atom;
    ~Atom() { p.string.DeleteStringAtom(atom); }
  };

  // Dict methods with a C-string key; the atom lives for the call only.
  MOXContainer Get(MOXContainer dict, const char* key) const {
    return posDict.Get(dict, Atom{*this, string.NewStringAtom(key)}.atom);
  }
  MOXContainer DeepGet(MOXContainer dict, const char* address) const {
    return posDict.DeepGet(dict, Atom{*this, string.NewStringAtom(address)}.atom);
  }
  void Put(MOXContainer dict, const char* key, MOXContainer value) const {
    posDict.Put(dict, Atom{*this, string.NewStringAtom(key)}.atom, value);
  }
  void Remove(MOXContainer dict, const char* key) const {
    posDict.Remove(dict, Atom{*this, string.NewStringAtom(key)}.atom);
  }
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_
