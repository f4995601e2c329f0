// Array: the ordered, growable container of the object model. Members are
// CPOSObject slots (a counted container handle and its method table) in one
// block of the runtime's memory. Indexes are zero-based.
//
// A hole is an empty slot below the count; holes arise only from SetAt
// beyond the count. The array has no lock: keep a single writer, and no
// reader beside it.
#ifndef MOXUTILS_POS_ARRAY_H_
#define MOXUTILS_POS_ARRAY_H_

#include <cstdint>

#include "pos/base_object.h"

namespace NPOSObjectImpl {

class Array final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSArray";
  static constexpr ObjectClass kClass = ObjectClass::kArray;

  Array() : fData(nullptr), fCapacity(0), fCount(0) {}
  // Shares the members: each slot is copied with a reference of its own.
  Array(const Array& other);
  Array& operator=(const Array& other);
  ~Array() override;

  BaseObject* Clone() override;
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  uint32_t Count() const { return fCount; }
  uint32_t Capacity() const { return fCapacity; }

  // A copy of the member at `index`; empty when out of range or a hole.
  CPOSObject GetAt(uint64_t index) const;
  // Direct access to a slot below Count().
  const CPOSObject& Slot(uint32_t index) const { return fData[index]; }

  // Grows to at least `needed` slots: 4, then doubling, possibly several steps
  // at once. Capacity never shrinks. Out of memory leaves the array as it was.
  void EnsureCapacity(uint32_t needed);
  void Append(const CPOSObject& value);
  // The same with the caller's reference, which a failure leaves with the
  // caller.
  void Append(CPOSObject&& value);
  // Replaces the member at `index`; beyond the count the slots in between
  // become holes.
  void SetAt(uint64_t index, const CPOSObject& value);
  // Removes the member at `index` and moves the rest down; nothing happens
  // out of range.
  void RemoveAt(uint64_t index);

 private:
  void Swap(Array& other) noexcept;

  CPOSObject* fData;
  uint32_t fCapacity;
  uint32_t fCount;
};

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_ARRAY_H_
