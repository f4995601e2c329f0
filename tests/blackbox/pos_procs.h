// The POS interfaces and the few runtime methods a foreign component needs,
// fetched through the lookup procedure alone, as any component would.
#ifndef MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_
#define MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_

#include <cstdint>
#include <type_traits>

#include "MOXRuntimeProcs.h"
#include "POSProcs.h"

namespace moxtest {

struct POSProcs {
  POSObjectCloneProc clone;
  POSObjectIsEqualProc isEqual;
  POSObjectDebugDumpProc debugDump;
  POSNumberNewPOSNumberProc newNumber;
  POSNumberIsPOSNumberProc isNumber;
  POSNumberGetProc getNumber;
  POSStringNewPOSStringProc newString;
  POSStringIsPOSStringProc isString;
  POSStringGetProc getString;
  POSUnicodeStringNewPOSUnicodeStringProc newUnicode;
  POSUnicodeStringGetProc getUnicode;
  POSBinDataNewPOSBinDataProc newBinData;
  POSBinDataGetTypeNameProc getTypeName;
  POSBinDataGetBinDataProc getBinData;
  POSBinDataGetSizeProc getSize;
  POSRawPointerNewPOSRawPointerProc newRawPointer;
  POSRawPointerGetRawPointerProc getRawPointer;
  POSRawPointerGetReleaseProcProc getReleaseProc;
  POSArrayNewPOSArrayProc newArray;
  POSArrayIsPOSArrayProc isArray;
  POSArrayGetAtProc getAt;
  POSArrayCountProc count;
  POSArraySetAtProc setAt;
  POSArrayAppendProc append;
  POSArrayRemoveProc removeAt;
  POSDictNewPOSDictProc newDict;
  POSDictIsPOSDictProc isDict;
  POSDictGetProc get;
  POSDictDeepGetProc deepGet;
  POSDictPutProc put;
  POSDictRemoveProc remove;
  POSDictIteratorNewPOSDictIteratorProc newIterator;
  POSDictIteratorBeginProc begin;
  POSDictIteratorNextProc next;
  POSDictIteratorIsDoneProc isDone;
  POSDictIteratorCurKeyProc curKey;
  MOXAddRefContainerV2Proc addRef;
  MOXReleaseContainerProc release;
  MOXGetRefCountAddrProc refCountAddr;
  MOXNewStringAtomProc newAtom;
  MOXDeleteStringAtomProc deleteAtom;

  // Fetches every method; false if one is missing.
  bool Load(MOXLookupProc lookup) {
    bool complete = true;
    auto fetch = [&](auto& slot, const char* interfaceName, const char* method,
                     const char* procType) {
      slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(
          lookup(interfaceName, method, procType));
      complete = complete && slot != nullptr;
    };
#define POS_FETCH(slot, interfaceName, method, Proc) fetch(slot, interfaceName, method, #Proc)
    POS_FETCH(clone, "POSObjectInterface", "Clone", POSObjectCloneProc);
    POS_FETCH(isEqual, "POSObjectInterface", "IsEqual", POSObjectIsEqualProc);
    POS_FETCH(debugDump, "POSObjectStatics", "DebugDump", POSObjectDebugDumpProc);
    POS_FETCH(newNumber, "POSNumberInterface", "NewPOSNumber", POSNumberNewPOSNumberProc);
    POS_FETCH(isNumber, "POSNumberInterface", "IsPOSNumber", POSNumberIsPOSNumberProc);
    POS_FETCH(getNumber, "POSNumberInterface", "Get", POSNumberGetProc);
    POS_FETCH(newString, "POSStringInterface", "NewPOSString", POSStringNewPOSStringProc);
    POS_FETCH(isString, "POSStringInterface", "IsPOSString", POSStringIsPOSStringProc);
    POS_FETCH(getString, "POSStringInterface", "Get", POSStringGetProc);
    POS_FETCH(newUnicode, "POSUnicodeStringInterface", "NewPOSUnicodeString",
              POSUnicodeStringNewPOSUnicodeStringProc);
    POS_FETCH(getUnicode, "POSUnicodeStringInterface", "Get", POSUnicodeStringGetProc);
    POS_FETCH(newBinData, "POSBinDataInterface", "NewPOSBinData", POSBinDataNewPOSBinDataProc);
    POS_FETCH(getTypeName, "POSBinDataInterface", "GetTypeName", POSBinDataGetTypeNameProc);
    POS_FETCH(getBinData, "POSBinDataInterface", "GetBinData", POSBinDataGetBinDataProc);
    POS_FETCH(getSize, "POSBinDataInterface", "GetSize", POSBinDataGetSizeProc);
    POS_FETCH(newRawPointer, "POSRawPointerInterface", "NewPOSRawPointer",
              POSRawPointerNewPOSRawPointerProc);
    POS_FETCH(getRawPointer, "POSRawPointerInterface", "GetRawPointer",
              POSRawPointerGetRawPointerProc);
    POS_FETCH(getReleaseProc, "POSRawPointerInterface", "GetReleaseProc",
              POSRawPointerGetReleaseProcProc);
    POS_FETCH(newArray, "POSArrayInterface", "NewPOSArray", POSArrayNewPOSArrayProc);
    POS_FETCH(isArray, "POSArrayInterface", "IsPOSArray", POSArrayIsPOSArrayProc);
    POS_FETCH(getAt, "POSArrayInterface", "GetAt", POSArrayGetAtProc);
    POS_FETCH(count, "POSArrayInterface", "Count", POSArrayCountProc);
    POS_FETCH(setAt, "POSArrayInterface", "SetAt", POSArraySetAtProc);
    POS_FETCH(append, "POSArrayInterface", "Append", POSArrayAppendProc);
    POS_FETCH(removeAt, "POSArrayInterface", "Remove", POSArrayRemoveProc);
    POS_FETCH(newDict, "POSDictInterface", "NewPOSDict", POSDictNewPOSDictProc);
    POS_FETCH(isDict, "POSDictInterface", "IsPOSDict", POSDictIsPOSDictProc);
    POS_FETCH(get, "POSDictInterface", "Get", POSDictGetProc);
    POS_FETCH(deepGet, "POSDictInterface", "DeepGet", POSDictDeepGetProc);
    POS_FETCH(put, "POSDictInterface", "Put", POSDictPutProc);
    POS_FETCH(remove, "POSDictInterface", "Remove", POSDictRemoveProc);
    POS_FETCH(newIterator, "POSDictIteratorInterface", "NewPOSDictIterator",
              POSDictIteratorNewPOSDictIteratorProc);
    POS_FETCH(begin, "POSDictIteratorInterface", "Begin", POSDictIteratorBeginProc);
    POS_FETCH(next, "POSDictIteratorInterface", "Next", POSDictIteratorNextProc);
    POS_FETCH(isDone, "POSDictIteratorInterface", "IsDone", POSDictIteratorIsDoneProc);
    POS_FETCH(curKey, "POSDictIteratorInterface", "CurKey", POSDictIteratorCurKeyProc);
    POS_FETCH(addRef, "MOXContainerInterface", "AddRef", MOXAddRefContainerV2Proc);
    POS_FETCH(release, "MOXContainerInterface", "Release", MOXReleaseContainerProc);
    POS_FETCH(refCountAddr, "MOXContainerInterface", "DebugGetRefCountAddr",
              MOXGetRefCountAddrProc);
    POS_FETCH(newAtom, "MOXStringInterface", "NewStringAtom", MOXNewStringAtomProc);
    POS_FETCH(deleteAtom, "MOXStringInterface", "DeleteStringAtom", MOXDeleteStringAtomProc);
#undef POS_FETCH
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
    if (object == nullptr) return;
    addRef(object);
    release(object);
  }

  // Dict methods with a C-string key; the atom lives for the call only.
  MOXContainer Get(MOXContainer dict, const char* key) const {
    MOXStringAtom atom = newAtom(key);
    MOXContainer value = get(dict, atom);
    deleteAtom(atom);
    return value;
  }
  MOXContainer DeepGet(MOXContainer dict, const char* address) const {
    MOXStringAtom atom = newAtom(address);
    MOXContainer value = deepGet(dict, atom);
    deleteAtom(atom);
    return value;
  }
  void Put(MOXContainer dict, const char* key, MOXContainer value) const {
    MOXStringAtom atom = newAtom(key);
    put(dict, atom, value);
    deleteAtom(atom);
  }
  void Remove(MOXContainer dict, const char* key) const {
    MOXStringAtom atom = newAtom(key);
    remove(dict, atom);
    deleteAtom(atom);
  }
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_BLACKBOX_POS_PROCS_H_
