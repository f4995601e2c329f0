// Typed client handles of the POS object model: CPOSNumber, CPOSString,
// CPOSUnicodeString, CPOSBinData, CPOSRawPointer (and CPOSMOXObjRef, an object
// reference carried in a raw pointer), CPOSArray, CPOSDict and
// CPOSDictIterator.
//
// They reach the objects only through the interfaces that the library
// registers with the runtime, exactly as a foreign component would. Each
// class keeps a pointer to the client table of its interface, refreshed each
// time a typed handle is made; its operations call through that pointer.
//
//   CPOSDict dict = CPOSDict::New();
//   dict.Put("size", CPOSNumber::New(12));
//   double size = dict.GetNumber("size").Get();
//   CPOSString name = dict.DeepGetString("items[0].name", /*quiet=*/true);
//   if (name.IsEmpty()) ...
//
// Operations raise POSException (or the runtime's errors) and never report.
// The methods they call report their own failures to the runtime and return
// a zero value, which the operations turn into their own text.
#ifndef MOXUTILS_POS_POS_CLIENT_H_
#define MOXUTILS_POS_POS_CLIENT_H_

#include <cstdint>

#include "MOXTypes.h"
#include "POSProcs.h"
#include "binding/container_ref.h"
#include "binding/host_tables.h"
#include "binding/string_holder.h"
#include "pos/pos_client_tables.h"
#include "pos/pos_object.h"

namespace MOX_T_MT {

// The client table of one POS interface: the runtime's table of the named
// interface (reloaded when the unregister counter moves), and the pointer to
// its slots that the typed handles call through.
class CPOSClientTable {
 public:
  constexpr explicit CPOSClientTable(MOXInterfaceTable* table) : fTable(table), fSlots(nullptr) {}

  // MOXGetInterfaceTable: the slots, or null when the interface can't be
  // bound. The result is also kept for Proc().
  void** Refresh() {
    void** slots = fTable->Get();
    // Every thread stores the same value; storing only a change keeps the
    // word's cache line shared between threads.
    if (slots != Slots()) __atomic_store_n(&fSlots, slots, __ATOMIC_RELAXED);
    return slots;
  }

 protected:
  void** Slots() const { return __atomic_load_n(&fSlots, __ATOMIC_RELAXED); }

 private:
  MOXInterfaceTable* fTable;
  // Every thread stores the same value, so a plain (relaxed) store will do.
  void** fSlots;
};

// The client table of the interface whose slots are `SlotEnum`.
template <typename SlotEnum>
class TPOSClientTable : public CPOSClientTable {
 public:
  constexpr explicit TPOSClientTable(TMOXInterfaceTable<SlotEnum>* table)
      : CPOSClientTable(table) {}

  // A slot through the pointer kept by the last Refresh(), unchecked.
  template <SlotEnum kSlot>
  MOXProcOf<kSlot> Proc() const {
    return MOXProcAt<kSlot>(Slots());
  }
};

// The client tables, one for each interface a client class uses.
extern TPOSClientTable<POSObjectStaticsSlots::Slot> gPOSObjectStaticsClient;
extern TPOSClientTable<POSNumberSlots::Slot> gPOSNumberClient;
extern TPOSClientTable<POSStringSlots::Slot> gPOSStringClient;
extern TPOSClientTable<POSUnicodeStringSlots::Slot> gPOSUnicodeStringClient;
extern TPOSClientTable<POSBinDataSlots::Slot> gPOSBinDataClient;
extern TPOSClientTable<POSRawPointerSlots::Slot> gPOSRawPointerClient;
extern TPOSClientTable<POSArraySlots::Slot> gPOSArrayClient;
extern TPOSClientTable<POSDictSlots::Slot> gPOSDictClient;
extern TPOSClientTable<POSDictIteratorSlots::Slot> gPOSDictIteratorClient;

// ---- Statics -------------------------------------------------------------------

// The methods of "POSObjectStatics" that are not tied to one object.
class CPOSObjectStatics {
 public:
  // CreateFromText: the object, or an empty object when the text is not well
  // formed or the interface is not there. `position` as for the method.
  static CPOSObject CreateFromText(const char* text, const char** position = nullptr);
  // DebugDump, when the interface is there; prints nothing. False without it.
  static bool DebugDump(const CPOSObject& object);
};

// ---- Scalars -------------------------------------------------------------------
//
// Each typed class converts from a CPOSObject: with `quiet` a mismatch gives
// an empty handle, without it raises "downcast from CPOSObject to C... failed".
// New() makes an object through the interface; a failure (reported by the
// method) raises "invalid container".

class CPOSNumber : public CPOSObject {
 public:
  CPOSNumber() noexcept = default;
  explicit CPOSNumber(const CPOSObject& object, bool quiet = false);
  static CPOSNumber New(double value);
  // IsPOSNumber; false when the interface is not there.
  static bool Is(const CPOSObject& object);
  double Get() const;
};

class CPOSString : public CPOSObject {
 public:
  CPOSString() noexcept = default;
  explicit CPOSString(const CPOSObject& object, bool quiet = false);
  static CPOSString New(const char* text);
  static bool Is(const CPOSObject& object);
  // The interned text, alive while the object lives. Equal texts give equal
  // pointers.
  const char* Get() const;
};

class CPOSUnicodeString : public CPOSObject {
 public:
  CPOSUnicodeString() noexcept = default;
  explicit CPOSUnicodeString(const CPOSObject& object, bool quiet = false);
  // Copies `units` up to and including the first zero unit.
  static CPOSUnicodeString New(const uint16_t* units);
  static bool Is(const CPOSObject& object);
  // The zero-terminated units, alive while the object lives.
  const uint16_t* Get() const;
};

class CPOSBinData : public CPOSObject {
 public:
  CPOSBinData() noexcept = default;
  explicit CPOSBinData(const CPOSObject& object, bool quiet = false);
  // Copies `size` bytes of `data` into a shared buffer of the runtime.
  static CPOSBinData New(const char* typeName, const void* data, uint64_t size);
  static bool Is(const CPOSObject& object);
  const char* GetTypeName() const;
  const void* GetBinData() const;
  uint64_t GetSize() const;
};

class CPOSRawPointer : public CPOSObject {
 public:
  CPOSRawPointer() noexcept = default;
  explicit CPOSRawPointer(const CPOSObject& object, bool quiet = false);
  // `release`, when not null, is called with `pointer` once, when the object
  // dies.
  static CPOSRawPointer New(void* pointer, MOXReleaseProc release);
  static bool Is(const CPOSObject& object);
  void* GetRawPointer() const;
};

// A reference to a runtime object, carried in a raw pointer: the object model
// does not tell the two apart.
class CPOSMOXObjRef : public CPOSRawPointer {
 public:
  CPOSMOXObjRef() noexcept = default;
  explicit CPOSMOXObjRef(const CPOSObject& object, bool quiet = false);
};

// ---- Containers ----------------------------------------------------------------

class CPOSArray : public CPOSObject {
 public:
  CPOSArray() noexcept = default;
  explicit CPOSArray(const CPOSObject& object, bool quiet = false);
  // A new, empty array.
  static CPOSArray New();
  static bool Is(const CPOSObject& object);

  // The member at `index`; out of range or a hole raises
  // "CPOSArray::GetAt subscript failed".
  CPOSObject GetAt(uint64_t index) const;
  uint32_t Count() const;
  // Failures (a null value, out of memory) are reported by the method.
  void Append(const CPOSObject& value) const;
  // Puts `value` in place of the member at `index`; the same failures.
  void SetAt(uint64_t index, const CPOSObject& value) const;
  // Removes the member at `index`; those after it move up.
  void Remove(uint64_t index) const;
};

class CPOSDict : public CPOSObject {
 public:
  CPOSDict() noexcept = default;
  explicit CPOSDict(const CPOSObject& object, bool quiet = false);
  // A new, empty dictionary.
  static CPOSDict New();
  static bool Is(const CPOSObject& object);

  // Keys are C strings (or atoms in a holder); they compare by strcmp.
  bool Has(const char* key) const;
  // True when the address (".key" and "[n]" steps) reaches an object.
  bool HasDeep(const char* address) const;
  void Put(const char* key, const CPOSObject& value) const;
  void Put(const CMOXStringHolder& key, const CPOSObject& value) const;
  void Remove(const char* key) const;
  // The value under `key`. A miss raises "CPOSDict::Get failed", or with
  // `quiet` gives an empty object.
  CPOSObject Get(const char* key, bool quiet = false) const;
  CPOSObject Get(const CMOXStringHolder& key, bool quiet = false) const;
  // The object at `address`. A miss raises "CPOSArray::GetAt subscript
  // failed" (the text of the subscript miss, whatever the step that missed),
  // or with `quiet` gives an empty object.
  CPOSObject DeepGet(const char* address, bool quiet = false) const;
  // The number of keys, counted with an iterator.
  uint32_t Count() const;

  // Typed accessors: the value under `key` (or at `address`), converted. A
  // miss raises the text of Get (or DeepGet); a value of another class raises
  // the conversion's text. With `quiet` both give an empty handle.
  CPOSNumber GetNumber(const char* key, bool quiet = false) const;
  CPOSString GetString(const char* key, bool quiet = false) const;
  CPOSArray GetArray(const char* key, bool quiet = false) const;
  CPOSDict GetDict(const char* key, bool quiet = false) const;
  CPOSBinData GetBinData(const char* key, bool quiet = false) const;
  CPOSRawPointer GetRawPointer(const char* key, bool quiet = false) const;
  CPOSMOXObjRef GetMOXObjRef(const char* key, bool quiet = false) const;
  CPOSNumber DeepGetNumber(const char* address, bool quiet = false) const;
  CPOSString DeepGetString(const char* address, bool quiet = false) const;
  CPOSArray DeepGetArray(const char* address, bool quiet = false) const;
  CPOSDict DeepGetDict(const char* address, bool quiet = false) const;
  CPOSBinData DeepGetBinData(const char* address, bool quiet = false) const;
  CPOSRawPointer DeepGetRawPointer(const char* address, bool quiet = false) const;
  CPOSMOXObjRef DeepGetMOXObjRef(const char* address, bool quiet = false) const;
};

// Walks the keys of a dictionary in ascending byte order. The iterator holds
// no reference on the dictionary: keep the CPOSDict alive while iterating, and
// don't remove the current key.
//
//   for (CPOSDictIterator it(dict); !it.IsDone(); it.Next()) use(it.CurKey());
class CPOSDictIterator : public CMOXContainerRef {
 public:
  CPOSDictIterator() noexcept = default;
  // An iterator on the first key of `dict`; "invalid container" when the
  // method fails (reported by it).
  explicit CPOSDictIterator(const CPOSDict& dict);

  void Begin() const;
  void Next() const;
  bool IsDone() const;
  // The current key, owned by the dictionary. Only while !IsDone().
  const char* CurKey() const;
};

}  // namespace MOX_T_MT

#endif  // MOXUTILS_POS_POS_CLIENT_H_
