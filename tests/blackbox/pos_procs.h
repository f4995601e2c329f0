// The POS interfaces and the few runtime methods a foreign component needs,
// fetched through the lookup procedure alone, as any component would.
#ifndef MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_
#define MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_

#include "MOXRuntimeProcs.h"
#include "POSProcs.h"

// (member, interface, method, proc type)
#define MOXTEST_POS_PROCS(X)                                                                     \
  X(clone, "POSObjectInterface", "Clone", POSObjectCloneProc)                                    \
  X(isEqual, "POSObjectInterface", "IsEqual", POSObjectIsEqualProc)                              \
  X(debugDump, "POSObjectStatics", "DebugDump", POSObjectDebugDumpProc)                          \
  X(newNumber, "POSNumberInterface", "NewPOSNumber", POSNumberNewPOSNumberProc)                  \
  X(isNumber, "POSNumberInterface", "IsPOSNumber", POSNumberIsPOSNumberProc)                     \
  X(getNumber, "POSNumberInterface", "Get", POSNumberGetProc)                                    \
  X(newString, "POSStringInterface", "NewPOSString", POSStringNewPOSStringProc)                  \
  X(isString, "POSStringInterface", "IsPOSString", POSStringIsPOSStringProc)                     \
  X(getString, "POSStringInterface", "Get", POSStringGetProc)                                    \
  X(newUnicode, "POSUnicodeStringInterface", "NewPOSUnicodeString",                              \
    POSUnicodeStringNewPOSUnicodeStringProc)                                                     \
  X(getUnicode, "POSUnicodeStringInterface", "Get", POSUnicodeStringGetProc)                     \
  X(newBinData, "POSBinDataInterface", "NewPOSBinData", POSBinDataNewPOSBinDataProc)             \
  X(getTypeName, "POSBinDataInterface", "GetTypeName", POSBinDataGetTypeNameProc)                \
  X(getBinData, "POSBinDataInterface", "GetBinData", POSBinDataGetBinDataProc)                   \
  X(getSize, "POSBinDataInterface", "GetSize", POSBinDataGetSizeProc)                            \
  X(newRawPointer, "POSRawPointerInterface", "NewPOSRawPointer",                                 \
    POSRawPointerNewPOSRawPointerProc)                                                           \
  X(getRawPointer, "POSRawPointerInterface", "GetRawPointer", POSRawPointerGetRawPointerProc)    \
  X(getReleaseProc, "POSRawPointerInterface", "GetReleaseProc", POSRawPointerGetReleaseProcProc) \
  X(newArray, "POSArrayInterface", "NewPOSArray", POSArrayNewPOSArrayProc)                       \
  X(isArray, "POSArrayInterface", "IsPOSArray", POSArrayIsPOSArrayProc)                          \
  X(getAt, "POSArrayInterface", "GetAt", POSArrayGetAtProc)                                      \
  X(count, "POSArrayInterface", "Count", POSArrayCountProc)                                      \
  X(setAt, "POSArrayInterface", "SetAt", POSArraySetAtProc)                                      \
  X(append, "POSArrayInterface", "Append", POSArrayAppendProc)                                   \
  X(removeAt, "POSArrayInterface", "Remove", POSArrayRemoveProc)                                 \
  X(newDict, "POSDictInterface", "NewPOSDict", POSDictNewPOSDictProc)                            \
  X(isDict, "POSDictInterface", "IsPOSDict", POSDictIsPOSDictProc)                               \
  X(get, "POSDictInterface", "Get", POSDictGetProc)                                              \
  X(deepGet, "POSDictInterface", "DeepGet", POSDictDeepGetProc)                                  \
  X(put, "POSDictInterface", "Put", POSDictPutProc)                                              \
  X(remove, "POSDictInterface", "Remove", POSDictRemoveProc)                                     \
  X(newIterator, "POSDictIteratorInterface", "NewPOSDictIterator",                               \
    POSDictIteratorNewPOSDictIteratorProc)                                                       \
  X(begin, "POSDictIteratorInterface", "Begin", POSDictIteratorBeginProc)                        \
  X(next, "POSDictIteratorInterface", "Next", POSDictIteratorNextProc)                           \
  X(isDone, "POSDictIteratorInterface", "IsDone", POSDictIteratorIsDoneProc)                     \
  X(curKey, "POSDictIteratorInterface", "CurKey", POSDictIteratorCurKeyProc)                     \
  X(addRef, "MOXContainerInterface", "AddRef", MOXAddRefContainerV2Proc)                         \
  X(release, "MOXContainerInterface", "Release", MOXReleaseContainerProc)                        \
  X(refCountAddr, "MOXContainerInterface", "DebugGetRefCountAddr", MOXGetRefCountAddrProc)       \
  X(newAtom, "MOXStringInterface", "NewStringAtom", MOXNewStringAtomProc)                        \
  X(deleteAtom, "MOXStringInterface", "DeleteStringAtom", MOXDeleteStringAtomProc)

namespace moxtest {

struct POSProcs {
#define MOXTEST_DECLARE(member, interfaceName, method, Proc) Proc member = nullptr;
  MOXTEST_POS_PROCS(MOXTEST_DECLARE)
#undef MOXTEST_DECLARE

  // Fetches every method; false if one is missing.
  bool Load(MOXLookupProc lookup) {
    bool complete = true;
#define MOXTEST_FETCH(member, interfaceName, method, Proc)               \
  member = reinterpret_cast<Proc>(lookup(interfaceName, method, #Proc)); \
  complete = complete && member != nullptr;
    MOXTEST_POS_PROCS(MOXTEST_FETCH)
#undef MOXTEST_FETCH
    return complete;
  }

  uint32_t RefCount(MOXContainer object) const {
    return *refCountAddr(object);
  }
  // Takes a reference, as a component that keeps an object does.
  MOXContainer Keep(MOXContainer object) const {
    if (object != nullptr) addRef(object);
    return object;
  }
  // Drops an object that nobody holds (count zero): owns it, then lets it go.
  void Drop(MOXContainer object) const {
    release(Keep(object));
  }

  // An atom of a C string that lives to the end of the full expression.
  struct Atom {
    const POSProcs& p;
    MOXStringAtom atom;
    ~Atom() { p.deleteAtom(atom); }
  };

  // Dict methods with a C-string key; the atom lives for the call only.
  MOXContainer Get(MOXContainer dict, const char* key) const {
    return get(dict, Atom{*this, newAtom(key)}.atom);
  }
  MOXContainer DeepGet(MOXContainer dict, const char* address) const {
    return deepGet(dict, Atom{*this, newAtom(address)}.atom);
  }
  void Put(MOXContainer dict, const char* key, MOXContainer value) const {
    put(dict, Atom{*this, newAtom(key)}.atom, value);
  }
  void Remove(MOXContainer dict, const char* key) const {
    remove(dict, Atom{*this, newAtom(key)}.atom);
  }
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_
