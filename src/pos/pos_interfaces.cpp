#include "pos/pos_interfaces.h"

#include <utility>

#include "POSProcs.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/stack_guard.h"
#include "pos/array.h"
#include "pos/debug_dump.h"
#include "pos/deep_get.h"
#include "pos/dict.h"
#include "pos/dict_iterator.h"
#include "pos/nested_clone.h"
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

}  // namespace

// Each interface's entries stand in a namespace of their own, named after the
// methods they implement: the server tables below are generated from the
// interfaces' method lists and find each entry by its method's name.

// ---- POSObjectInterface ------------------------------------------------------------

namespace POSObjectEntries {

MOXContainer Clone(MOXContainer object) {
  const CloneEntryScope scope;
  return EntryGuard<MOXContainer>([&]() -> MOXContainer {
    BaseObject* source = ResolveBaseObject(object);
    if (source == nullptr) MOXThrowInvalidContainer();
    BaseObject* copy;
    try {
      copy = source->Clone();
    } catch (const MOX_T_MT::StackExhausted&) {
      // Reported once, by the outermost Clone (nested_clone.h).
      if (!scope.IsNested()) throw;
      NoteStackRefusal();
      return nullptr;
    }
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

}  // namespace POSObjectEntries

// ---- Number, String ----------------------------------------------------------------

namespace POSNumberEntries {
MOXContainer NewPOSNumber(double value) {
  return EntryGuard<MOXContainer>([&] { return NewObject<Number>(value); });
}
bool IsPOSNumber(MOXContainer object) {
  return IsOfClass<Number>(object);
}
double Get(MOXContainer object) {
  return EntryGuard<double>([&] { return FromContainer<Number>(object)->Value(); });
}
}  // namespace POSNumberEntries

namespace POSStringEntries {
MOXContainer NewPOSString(const char* text) {
  return EntryGuard<MOXContainer>([&] { return NewObject<String>(text); });
}
bool IsPOSString(MOXContainer object) {
  return IsOfClass<String>(object);
}
const char* Get(MOXContainer object) {
  return EntryGuard<const char*>([&] { return FromContainer<String>(object)->Text(); });
}
}  // namespace POSStringEntries

// ---- UnicodeString, BinData, RawPointer --------------------------------------------

namespace POSUnicodeStringEntries {
MOXContainer NewPOSUnicodeString(const uint16_t* units) {
  return EntryGuard<MOXContainer>([&] { return NewObject<UnicodeString>(units); });
}
bool IsPOSUnicodeString(MOXContainer object) {
  return IsOfClass<UnicodeString>(object);
}
const uint16_t* Get(MOXContainer object) {
  return EntryGuard<const uint16_t*>([&] { return FromContainer<UnicodeString>(object)->Units(); });
}
}  // namespace POSUnicodeStringEntries

namespace POSBinDataEntries {
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
}  // namespace POSBinDataEntries

namespace POSRawPointerEntries {
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
}  // namespace POSRawPointerEntries

// ---- Array ---------------------------------------------------------------------------

namespace POSArrayEntries {
MOXContainer NewPOSArray() {
  return EntryGuard<MOXContainer>([&] { return NewObject<Array>(); });
}
bool IsPOSArray(MOXContainer object) {
  return IsOfClass<Array>(object);
}
MOXContainer GetAt(MOXContainer array, uint64_t index) {
  return EntryGuard<MOXContainer>([&]() -> MOXContainer {
    Array* self = FromContainer<Array>(array);
    // The array keeps its reference: the caller borrows the member, and its
    // count is the same as before.
    if (index >= self->Count()) return nullptr;
    return self->Slot(static_cast<uint32_t>(index)).Container();
  });
}
uint32_t Count(MOXContainer array) {
  return EntryGuard<uint32_t>([&] { return FromContainer<Array>(array)->Count(); });
}
void SetAt(MOXContainer array, uint64_t index, MOXContainer value) {
  EntryGuardVoid([&] {
    // The value is taken before the array is touched.
    CPOSObject member(value);
    FromContainer<Array>(array)->SetAt(index, member);
  });
}
void Append(MOXContainer array, MOXContainer value) {
  EntryGuardVoid([&] {
    CPOSObject member(value);
    FromContainer<Array>(array)->Append(std::move(member));
  });
}
void Remove(MOXContainer array, uint64_t index) {
  EntryGuardVoid([&] { FromContainer<Array>(array)->RemoveAt(index); });
}

}  // namespace POSArrayEntries

// ---- Dict ----------------------------------------------------------------------------

namespace POSDictEntries {
MOXContainer NewPOSDict() {
  return EntryGuard<MOXContainer>([&] { return NewObject<Dict>(); });
}
bool IsPOSDict(MOXContainer object) {
  return IsOfClass<Dict>(object);
}
MOXContainer Get(MOXContainer dict, MOXStringAtom key) {
  return EntryGuard<MOXContainer>([&]() -> MOXContainer {
    Dict* self = FromContainer<Dict>(dict);
    // Borrowed, as for GetAt: the node keeps its reference.
    DictNode* node = self->Tree()->Find(KeyText(key));
    return node == nullptr ? nullptr : node->fValue.Container();
  });
}
MOXContainer DeepGet(MOXContainer dict, MOXStringAtom address) {
  return EntryGuard<MOXContainer>([&] {
    if (address == nullptr) throw POSException(kNullArgument);
    CMOXStringHolder text = CMOXStringHolder::Retain(address);
    Dict* self = FromContainer<Dict>(dict);
    return DeepGetValue(self, text, /*quiet=*/true).GiveAway();
  });
}
void Put(MOXContainer dict, MOXStringAtom key, MOXContainer value) {
  EntryGuardVoid([&] {
    // The value is taken before anything else.
    CPOSObject member(value);
    Dict* self = FromContainer<Dict>(dict);
    if (key == nullptr) throw POSException(kNullArgument);
    self->InsertValue(CMOXStringHolder::Retain(key), std::move(member));
  });
}
void Remove(MOXContainer dict, MOXStringAtom key) {
  EntryGuardVoid([&] { FromContainer<Dict>(dict)->EraseKey(KeyText(key)); });
}

}  // namespace POSDictEntries

// ---- DictIterator ----------------------------------------------------------------------

namespace POSDictIteratorEntries {
MOXContainer NewPOSDictIterator(MOXContainer dict) {
  return EntryGuard<MOXContainer>([&] {
    Dict* self = FromContainer<Dict>(dict);
    return NewIteratorContainer(new DictIterator(self->Tree()));
  });
}
void Begin(MOXContainer iterator) {
  EntryGuardVoid([&] { ResolveDictIterator(iterator)->Begin(); });
}
void Next(MOXContainer iterator) {
  EntryGuardVoid([&] { ResolveDictIterator(iterator)->Next(); });
}
bool IsDone(MOXContainer iterator) {
  return EntryGuard<bool>([&] { return ResolveDictIterator(iterator)->IsDone(); });
}
const char* CurKey(MOXContainer iterator) {
  return EntryGuard<const char*>([&] { return ResolveDictIterator(iterator)->CurKey(); });
}

}  // namespace POSDictIteratorEntries

}  // namespace NPOSObjectImpl

// ---- Tables ------------------------------------------------------------------------------

namespace {

using namespace NPOSObjectImpl;  // NOLINT: the entries' namespaces

MOX_DEFINE_SERVER_INTERFACE(gPOSObjectServerInterface, POS_OBJECT_INTERFACE_NAME, POSObjectEntries,
                            POS_OBJECT_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSObjectStaticsServerInterface, POS_OBJECT_STATICS_NAME,
                            POSObjectStaticsEntries, POS_OBJECT_STATICS_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSNumberServerInterface, POS_NUMBER_INTERFACE_NAME, POSNumberEntries,
                            POS_NUMBER_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSStringServerInterface, POS_STRING_INTERFACE_NAME, POSStringEntries,
                            POS_STRING_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSUnicodeStringServerInterface, POS_UNICODE_STRING_INTERFACE_NAME,
                            POSUnicodeStringEntries, POS_UNICODE_STRING_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSBinDataServerInterface, POS_BIN_DATA_INTERFACE_NAME,
                            POSBinDataEntries, POS_BIN_DATA_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSRawPointerServerInterface, POS_RAW_POINTER_INTERFACE_NAME,
                            POSRawPointerEntries, POS_RAW_POINTER_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSArrayServerInterface, POS_ARRAY_INTERFACE_NAME, POSArrayEntries,
                            POS_ARRAY_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSDictServerInterface, POS_DICT_INTERFACE_NAME, POSDictEntries,
                            POS_DICT_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(gPOSDictIteratorServerInterface, POS_DICT_ITERATOR_INTERFACE_NAME,
                            POSDictIteratorEntries, POS_DICT_ITERATOR_INTERFACE_METHODS);

// Registered at start in this order, "POSObjectInterface" first, and
// unregistered at stop in the same order.
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
