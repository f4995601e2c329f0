#include "pos/pos_interfaces.h"

#include <utility>

#include "POSProcs.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "pos/array.h"
#include "pos/debug_dump.h"
#include "pos/deep_get.h"
#include "pos/dict.h"
#include "pos/dict_iterator.h"
#include "pos/number_string.h"
#include "pos/text_parser.h"
#include "pos/unicode_bindata_rawpointer.h"

namespace NPOSObjectImpl {
namespace {

// Allocates and constructs a T and gives it its container. If the
// constructor throws, the memory goes back to the runtime and the count is
// restored; if the runtime refuses the container, the object stays with it.
template <class T, class... Args>
MOXContainer NewObject(Args&&... args) {
  return NewObjectContainer(new T(std::forward<Args>(args)...));
}

template <class T>
bool IsOfClass(MOXContainer object) {
  return EntryGuard<bool>([&] { return TryFromContainer<T>(object) != nullptr; });
}

const char* KeyText(MOXStringAtom key) {
  if (key == nullptr) throw POSException(kNullArgument);
  return MOXString::GetCString(key);
}

// ---- POSObjectInterface ------------------------------------------------------------

MOXContainer Clone(MOXContainer object) {
  return EntryGuard<MOXContainer>([&]() -> MOXContainer {
    BaseObject* source = ResolveBaseObject(object);
    if (source == nullptr) MOXThrowInvalidContainer();
    BaseObject* copy = source->Clone();
    // An immutable object is its own clone: the same handle, count untouched.
    if (copy == source) return object;
    return NewObjectContainer(copy);
  });
}

bool IsEqual(MOXContainer object, MOXContainer other) {
  return EntryGuard<bool>([&] {
    BaseObject* self = ResolveBaseObject(object);
    if (self == nullptr) MOXThrowInvalidContainer();
    // Borrowed: comparing must not change, or end, the other object's life.
    return self->IsEqual(MOX_T_MT::CPOSBorrowedObject(other));
  });
}

// ---- Number, String ----------------------------------------------------------------

MOXContainer NewPOSNumber(double value) {
  return EntryGuard<MOXContainer>([&] { return NewObject<Number>(value); });
}
bool IsPOSNumber(MOXContainer object) {
  return IsOfClass<Number>(object);
}
double GetNumber(MOXContainer object) {
  return EntryGuard<double>([&] { return FromContainer<Number>(object)->Value(); });
}

MOXContainer NewPOSString(const char* text) {
  return EntryGuard<MOXContainer>([&] { return NewObject<String>(text); });
}
bool IsPOSString(MOXContainer object) {
  return IsOfClass<String>(object);
}
const char* GetString(MOXContainer object) {
  return EntryGuard<const char*>([&] { return FromContainer<String>(object)->Text(); });
}

// ---- UnicodeString, BinData, RawPointer --------------------------------------------

MOXContainer NewPOSUnicodeString(const uint16_t* units) {
  return EntryGuard<MOXContainer>([&] { return NewObject<UnicodeString>(units); });
}
bool IsPOSUnicodeString(MOXContainer object) {
  return IsOfClass<UnicodeString>(object);
}
const uint16_t* GetUnicodeString(MOXContainer object) {
  return EntryGuard<const uint16_t*>([&] { return FromContainer<UnicodeString>(object)->Units(); });
}

MOXContainer NewPOSBinData(const char* typeName, const void* data, uint64_t size) {
  return EntryGuard<MOXContainer>([&] { return NewObject<BinData>(typeName, data, size); });
}
bool IsPOSBinData(MOXContainer object) {
  return IsOfClass<BinData>(object);
}
const char* GetTypeName(MOXContainer object) {
  return EntryGuard<const char*>([&] { return FromContainer<BinData>(object)->TypeName(); });
}
const void* GetBinData(MOXContainer object) {
  return EntryGuard<const void*>([&] { return FromContainer<BinData>(object)->Data(); });
}
uint64_t GetSize(MOXContainer object) {
  return EntryGuard<uint64_t>([&] { return FromContainer<BinData>(object)->Size(); });
}

MOXContainer NewPOSRawPointer(void* pointer, MOXReleaseProc release) {
  return EntryGuard<MOXContainer>([&] { return NewObject<RawPointer>(pointer, release); });
}
bool IsPOSRawPointer(MOXContainer object) {
  return IsOfClass<RawPointer>(object);
}
void* GetRawPointer(MOXContainer object) {
  return EntryGuard<void*>([&] { return FromContainer<RawPointer>(object)->Pointer(); });
}
MOXReleaseProc GetReleaseProc(MOXContainer object) {
  return EntryGuard<MOXReleaseProc>(
      [&] { return FromContainer<RawPointer>(object)->ReleaseProc(); });
}

// ---- Array ---------------------------------------------------------------------------

MOXContainer NewPOSArray() {
  return EntryGuard<MOXContainer>([&] { return NewObject<Array>(); });
}
bool IsPOSArray(MOXContainer object) {
  return IsOfClass<Array>(object);
}
MOXContainer ArrayGetAt(MOXContainer array, uint64_t index) {
  return EntryGuard<MOXContainer>([&]() -> MOXContainer {
    Array* self = FromContainer<Array>(array);
    // The array keeps its reference: the caller borrows the member, and its
    // count is the same as before.
    if (index >= self->Count()) return nullptr;
    return self->Slot(static_cast<uint32_t>(index)).fContainer;
  });
}
uint32_t ArrayCount(MOXContainer array) {
  return EntryGuard<uint32_t>([&] { return FromContainer<Array>(array)->Count(); });
}
void ArraySetAt(MOXContainer array, uint64_t index, MOXContainer value) {
  EntryGuardVoid([&] {
    // The value is taken before the array is touched.
    CPOSObject member(value);
    FromContainer<Array>(array)->SetAt(index, member);
  });
}
void ArrayAppend(MOXContainer array, MOXContainer value) {
  EntryGuardVoid([&] {
    CPOSObject member(value);
    FromContainer<Array>(array)->Append(member);
  });
}
void ArrayRemove(MOXContainer array, uint64_t index) {
  EntryGuardVoid([&] { FromContainer<Array>(array)->RemoveAt(index); });
}

// ---- Dict ----------------------------------------------------------------------------

MOXContainer NewPOSDict() {
  return EntryGuard<MOXContainer>([&] { return NewObject<Dict>(); });
}
bool IsPOSDict(MOXContainer object) {
  return IsOfClass<Dict>(object);
}
MOXContainer DictGet(MOXContainer dict, MOXStringAtom key) {
  return EntryGuard<MOXContainer>([&]() -> MOXContainer {
    Dict* self = FromContainer<Dict>(dict);
    // Borrowed, as for GetAt: the node keeps its reference.
    DictNode* node = self->Tree()->Find(KeyText(key));
    return node == nullptr ? nullptr : node->fValue.fContainer;
  });
}
MOXContainer DictDeepGet(MOXContainer dict, MOXStringAtom address) {
  return EntryGuard<MOXContainer>([&] {
    if (address == nullptr) throw POSException(kNullArgument);
    CMOXStringHolder text(address, /*adopt=*/false);
    Dict* self = FromContainer<Dict>(dict);
    return DeepGetValue(self, text, /*quiet=*/true).GiveAway();
  });
}
void DictPut(MOXContainer dict, MOXStringAtom key, MOXContainer value) {
  EntryGuardVoid([&] {
    // The value is taken before anything else.
    CPOSObject member(value);
    Dict* self = FromContainer<Dict>(dict);
    if (key == nullptr) throw POSException(kNullArgument);
    self->InsertValue(CMOXStringHolder(key, /*adopt=*/false), member);
  });
}
void DictRemove(MOXContainer dict, MOXStringAtom key) {
  EntryGuardVoid([&] { FromContainer<Dict>(dict)->EraseKey(KeyText(key)); });
}

// ---- DictIterator ----------------------------------------------------------------------

MOXContainer NewPOSDictIterator(MOXContainer dict) {
  return EntryGuard<MOXContainer>([&] {
    Dict* self = FromContainer<Dict>(dict);
    return NewIteratorContainer(new DictIterator(self->Tree()));
  });
}
void IteratorBegin(MOXContainer iterator) {
  EntryGuardVoid([&] { ResolveDictIterator(iterator)->Begin(); });
}
void IteratorNext(MOXContainer iterator) {
  EntryGuardVoid([&] { ResolveDictIterator(iterator)->Next(); });
}
bool IteratorIsDone(MOXContainer iterator) {
  return EntryGuard<bool>([&] { return ResolveDictIterator(iterator)->IsDone(); });
}
const char* IteratorCurKey(MOXContainer iterator) {
  return EntryGuard<const char*>([&] { return ResolveDictIterator(iterator)->CurKey(); });
}

// ---- Tables ----------------------------------------------------------------------------

const MOXServerRow kObjectRows[] = {
    MOX_SERVER_ROW("Clone", POSObjectCloneProc, &Clone),
    MOX_SERVER_ROW("IsEqual", POSObjectIsEqualProc, &IsEqual),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kStaticsRows[] = {
    MOX_SERVER_ROW("DebugDump", POSObjectDebugDumpProc, &POSObjectDebugDump),
    MOX_SERVER_ROW("DebugDumpWithHeader", POSObjectDebugDumpWithHeaderProc,
                   &POSObjectDebugDumpWithHeader),
    MOX_SERVER_ROW("DebugDumpRewind", POSObjectDebugDumpRewindProc, &POSObjectDebugDumpRewind),
    MOX_SERVER_ROW("CreateFromText", POSObjectCreateFromTextProc, &POSObjectCreateFromText),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kNumberRows[] = {
    MOX_SERVER_ROW("NewPOSNumber", POSNumberNewPOSNumberProc, &NewPOSNumber),
    MOX_SERVER_ROW("IsPOSNumber", POSNumberIsPOSNumberProc, &IsPOSNumber),
    MOX_SERVER_ROW("Get", POSNumberGetProc, &GetNumber),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kStringRows[] = {
    MOX_SERVER_ROW("NewPOSString", POSStringNewPOSStringProc, &NewPOSString),
    MOX_SERVER_ROW("IsPOSString", POSStringIsPOSStringProc, &IsPOSString),
    MOX_SERVER_ROW("Get", POSStringGetProc, &GetString),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kUnicodeStringRows[] = {
    MOX_SERVER_ROW("NewPOSUnicodeString", POSUnicodeStringNewPOSUnicodeStringProc,
                   &NewPOSUnicodeString),
    MOX_SERVER_ROW("IsPOSUnicodeString", POSUnicodeStringIsPOSUnicodeStringProc,
                   &IsPOSUnicodeString),
    MOX_SERVER_ROW("Get", POSUnicodeStringGetProc, &GetUnicodeString),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kBinDataRows[] = {
    MOX_SERVER_ROW("NewPOSBinData", POSBinDataNewPOSBinDataProc, &NewPOSBinData),
    MOX_SERVER_ROW("IsPOSBinData", POSBinDataIsPOSBinDataProc, &IsPOSBinData),
    MOX_SERVER_ROW("GetTypeName", POSBinDataGetTypeNameProc, &GetTypeName),
    MOX_SERVER_ROW("GetBinData", POSBinDataGetBinDataProc, &GetBinData),
    MOX_SERVER_ROW("GetSize", POSBinDataGetSizeProc, &GetSize),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kRawPointerRows[] = {
    MOX_SERVER_ROW("NewPOSRawPointer", POSRawPointerNewPOSRawPointerProc, &NewPOSRawPointer),
    MOX_SERVER_ROW("IsPOSRawPointer", POSRawPointerIsPOSRawPointerProc, &IsPOSRawPointer),
    MOX_SERVER_ROW("GetRawPointer", POSRawPointerGetRawPointerProc, &GetRawPointer),
    MOX_SERVER_ROW("GetReleaseProc", POSRawPointerGetReleaseProcProc, &GetReleaseProc),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kArrayRows[] = {
    MOX_SERVER_ROW("NewPOSArray", POSArrayNewPOSArrayProc, &NewPOSArray),
    MOX_SERVER_ROW("IsPOSArray", POSArrayIsPOSArrayProc, &IsPOSArray),
    MOX_SERVER_ROW("GetAt", POSArrayGetAtProc, &ArrayGetAt),
    MOX_SERVER_ROW("Count", POSArrayCountProc, &ArrayCount),
    MOX_SERVER_ROW("SetAt", POSArraySetAtProc, &ArraySetAt),
    MOX_SERVER_ROW("Append", POSArrayAppendProc, &ArrayAppend),
    MOX_SERVER_ROW("Remove", POSArrayRemoveProc, &ArrayRemove),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kDictRows[] = {
    MOX_SERVER_ROW("NewPOSDict", POSDictNewPOSDictProc, &NewPOSDict),
    MOX_SERVER_ROW("IsPOSDict", POSDictIsPOSDictProc, &IsPOSDict),
    MOX_SERVER_ROW("Get", POSDictGetProc, &DictGet),
    MOX_SERVER_ROW("DeepGet", POSDictDeepGetProc, &DictDeepGet),
    MOX_SERVER_ROW("Put", POSDictPutProc, &DictPut),
    MOX_SERVER_ROW("Remove", POSDictRemoveProc, &DictRemove),
    MOX_SERVER_END_ROW,
};
const MOXServerRow kDictIteratorRows[] = {
    MOX_SERVER_ROW("NewPOSDictIterator", POSDictIteratorNewPOSDictIteratorProc,
                   &NewPOSDictIterator),
    MOX_SERVER_ROW("Begin", POSDictIteratorBeginProc, &IteratorBegin),
    MOX_SERVER_ROW("Next", POSDictIteratorNextProc, &IteratorNext),
    MOX_SERVER_ROW("IsDone", POSDictIteratorIsDoneProc, &IteratorIsDone),
    MOX_SERVER_ROW("CurKey", POSDictIteratorCurKeyProc, &IteratorCurKey),
    MOX_SERVER_END_ROW,
};

}  // namespace
}  // namespace NPOSObjectImpl

using namespace NPOSObjectImpl;  // NOLINT: the tables below name the rows above

const MOXServerInterface gPOSObjectServerInterface = {"POSObjectInterface", kObjectRows,
                                                      MOXRowCount(kObjectRows)};
const MOXServerInterface gPOSObjectStaticsServerInterface = {"POSObjectStatics", kStaticsRows,
                                                             MOXRowCount(kStaticsRows)};
const MOXServerInterface gPOSNumberServerInterface = {"POSNumberInterface", kNumberRows,
                                                      MOXRowCount(kNumberRows)};
const MOXServerInterface gPOSStringServerInterface = {"POSStringInterface", kStringRows,
                                                      MOXRowCount(kStringRows)};
const MOXServerInterface gPOSUnicodeStringServerInterface = {
    "POSUnicodeStringInterface", kUnicodeStringRows, MOXRowCount(kUnicodeStringRows)};
const MOXServerInterface gPOSBinDataServerInterface = {"POSBinDataInterface", kBinDataRows,
                                                       MOXRowCount(kBinDataRows)};
const MOXServerInterface gPOSRawPointerServerInterface = {"POSRawPointerInterface", kRawPointerRows,
                                                          MOXRowCount(kRawPointerRows)};
const MOXServerInterface gPOSArrayServerInterface = {"POSArrayInterface", kArrayRows,
                                                     MOXRowCount(kArrayRows)};
const MOXServerInterface gPOSDictServerInterface = {"POSDictInterface", kDictRows,
                                                    MOXRowCount(kDictRows)};
const MOXServerInterface gPOSDictIteratorServerInterface = {
    "POSDictIteratorInterface", kDictIteratorRows, MOXRowCount(kDictIteratorRows)};

namespace {
const MOXServerInterface* const kPOSInterfaces[] = {
    &gPOSObjectServerInterface,        &gPOSObjectStaticsServerInterface,
    &gPOSNumberServerInterface,        &gPOSStringServerInterface,
    &gPOSUnicodeStringServerInterface, &gPOSBinDataServerInterface,
    &gPOSRawPointerServerInterface,    &gPOSArrayServerInterface,
    &gPOSDictServerInterface,          &gPOSDictIteratorServerInterface,
};
}  // namespace

const MOXLayerInterfaces gPOSLayerInterfaces =
    MOXMakeLayerInterfaces(kPOSInterfaces, kPOSInterfaces);
