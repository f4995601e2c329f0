// Clone and IsEqual of every class. A clone copies the structure (arrays and
// dictionaries) and shares the leaves (the immutable values), so mutating a
// container inside a clone never shows in the source. Equality has no
// tolerance, and is looser than its name in two places on purpose: any two
// raw pointers are equal, and a Dict only asks whether its own keys are in
// the other.
//
// Arrays and dictionaries clone and compare their members through the
// members' own tables, one entry per level, so both walks ask the stack guard
// at each container: a tree deeper than the stack is refused with one report
// (nested_clone.h) and the neutral result.
#include <cstring>
#include <memory>

#include "POSProcs.h"
#include "binding/method_rows.h"
#include "binding/stack_guard.h"
#include "pos/array.h"
#include "pos/dict.h"
#include "pos/dict_iterator.h"
#include "pos/number_string.h"
#include "pos/unicode_bindata_rawpointer.h"

namespace NPOSObjectImpl {

// The entries of POSObjectInterface (pos_interfaces.cpp).
namespace POSObjectEntries {
MOXContainer Clone(MOXContainer object);
bool IsEqual(MOXContainer object, MOXContainer other);
}  // namespace POSObjectEntries

namespace {

// Deletes a clone that was abandoned half way: it has no container yet, so
// nothing else would ever release the members it already holds.
struct DeleteBaseObject {
  void operator()(BaseObject* object) const { delete object; }
};
template <class T>
using PendingClone = std::unique_ptr<T, DeleteBaseObject>;

// The member's object when the member's table holds this library's own entry
// `entry` in slot kSlot, else null. A member of our own is then asked
// directly, as that entry would ask it, with the same guard around the call:
// the same results and the same reports, without the call through the
// table, and for IsEqual without looking up the other member's table again.
template <auto kSlot, class Entry>
BaseObject* OwnMember(const CPOSObject& member, Entry entry) {
  void** procs = member.Procs();
  if (procs == nullptr || MOXProcAt<kSlot>(procs) != entry) return nullptr;
  return ResolveBaseObject(member.Container());
}

// mine.IsEqual(theirs). An empty other goes the long way, whose entry
// reports it.
bool MembersEqual(const CPOSObject& mine, const CPOSObject& theirs) {
  BaseObject* self = theirs.IsEmpty() ? nullptr
                                      : OwnMember<MOX_T_MT::POSObjectSlots::IsEqual>(
                                            mine, &POSObjectEntries::IsEqual);
  if (self == nullptr) return mine.IsEqual(theirs);
  return EntryGuard<bool>([&] { return self->IsEqual(theirs); });
}

// member.Clone().
CPOSObject CloneMember(const CPOSObject& member) {
  BaseObject* source = OwnMember<MOX_T_MT::POSObjectSlots::Clone>(member, &POSObjectEntries::Clone);
  if (source == nullptr) return member.Clone();
  // An immutable object is its own clone: the same container, one more
  // reference, the same table.
  if (source->Class() != ObjectClass::kArray && source->Class() != ObjectClass::kDict) {
    return member;
  }
  return member.Clone();
}

}  // namespace

// ---- Immutable values: the clone is the object itself ----------------------------

BaseObject* Number::Clone() {
  return this;
}
BaseObject* String::Clone() {
  return this;
}
BaseObject* UnicodeString::Clone() {
  return this;
}
BaseObject* BinData::Clone() {
  return this;
}
BaseObject* RawPointer::Clone() {
  return this;
}

bool Number::IsEqual(const CPOSObject& other) {
  const Number* number = TryFromContainer<Number>(other.Container());
  return number != nullptr && fValue == number->fValue;
}

bool String::IsEqual(const CPOSObject& other) {
  // Atoms are interned: equal texts have the same C string.
  const String* string = TryFromContainer<String>(other.Container());
  return string != nullptr && Text() == string->Text();
}

bool UnicodeString::IsEqual(const CPOSObject& other) {
  const UnicodeString* string = TryFromContainer<UnicodeString>(other.Container());
  if (string == nullptr || fLength != string->fLength) return false;
  return std::memcmp(fUnits, string->fUnits, fLength * sizeof(uint16_t)) == 0;
}

bool BinData::IsEqual(const CPOSObject& other) {
  const BinData* data = TryFromContainer<BinData>(other.Container());
  if (data == nullptr || TypeName() != data->TypeName() || fSize != data->fSize) return false;
  return fSize == 0 || std::memcmp(fData, data->fData, fSize) == 0;
}

bool RawPointer::IsEqual(const CPOSObject& other) {
  return TryFromContainer<RawPointer>(other.Container()) != nullptr;
}

// ---- Arrays ------------------------------------------------------------------------

BaseObject* Array::Clone() {
  MOX_T_MT::CheckStackReserve();
  PendingClone<Array> copy(new Array());
  copy->EnsureCapacity(fCount);
  for (uint32_t i = 0; i < fCount; ++i) {
    // A hole stays a hole at the same index.
    if (fData[i].IsEmpty()) {
      ++copy->fCount;
      continue;
    }
    copy->Append(CloneMember(fData[i]));
  }
  return copy.release();
}

bool Array::IsEqual(const CPOSObject& other) {
  MOX_T_MT::CheckStackReserve();
  const Array* array = TryFromContainer<Array>(other.Container());
  if (array == nullptr || fCount != array->fCount) return false;
  for (uint32_t i = 0; i < fCount; ++i) {
    const CPOSObject& mine = fData[i];
    const CPOSObject& theirs = array->fData[i];
    // Holes match holes only; a member is never asked about a hole.
    if (mine.IsEmpty() || theirs.IsEmpty()) {
      if (mine.IsEmpty() != theirs.IsEmpty()) return false;
      continue;
    }
    if (!MembersEqual(mine, theirs)) return false;
  }
  return true;
}

// ---- Dictionaries ------------------------------------------------------------------

BaseObject* Dict::Clone() {
  MOX_T_MT::CheckStackReserve();
  PendingClone<Dict> copy(new Dict());
  for (ConstDictIterator it(&fTree); !it.IsDone(); it.Next()) {
    DictNode* node = it.Current();
    copy->InsertValue(node->fKey, CloneMember(node->fValue));
  }
  return copy.release();
}

bool Dict::IsEqual(const CPOSObject& other) {
  MOX_T_MT::CheckStackReserve();
  const Dict* dict = TryFromContainer<Dict>(other.Container());
  if (dict == nullptr) return false;
  // Both trees are walked in ascending key order at once, with no search:
  // keys of the other below this Dict's next key are ones that only the
  // other has, which the one-sided question passes over.
  DictNode* match = dict->fTree.First();
  for (ConstDictIterator it(&fTree); !it.IsDone(); it.Next()) {
    DictNode* node = it.Current();
    int order = -1;
    while (match != nullptr && (order = DictTree::Order(*match, *node)) < 0) {
      match = DictTree::Next(match);
    }
    if (match == nullptr || order != 0) return false;
    if (!MembersEqual(node->fValue, match->fValue)) return false;
    match = DictTree::Next(match);
  }
  return true;
}

}  // namespace NPOSObjectImpl
