#include "pos/array.h"

#include <new>
#include <utility>

#include "binding/host_tables.h"
#include "pos/deferred_release.h"

namespace NPOSObjectImpl {

namespace {

// A block of `capacity` empty slots from the runtime's memory.
CPOSObject* NewSlots(uint32_t capacity) {
  void* block = MOXMemory::AllocOrThrow(uint64_t{capacity} * sizeof(CPOSObject));
  CPOSObject* slots = static_cast<CPOSObject*>(block);
  for (uint32_t i = 0; i < capacity; ++i) new (&slots[i]) CPOSObject();
  return slots;
}

// Releases every slot of a block, over its whole capacity, and frees it. The
// members may be trees of any depth (deferred_release.h).
void DeleteSlots(CPOSObject* slots, uint32_t capacity) {
  ReleaseSlotBlock(slots, capacity);
}

}  // namespace

Array::Array(const Array& other) : BaseObject(other), fData(nullptr), fCapacity(0), fCount(0) {
  try {
    EnsureCapacity(other.fCount);
    for (uint32_t i = 0; i < other.fCount; ++i) fData[i] = other.fData[i];
    fCount = other.fCount;
  } catch (...) {
    DeleteSlots(fData, fCapacity);
    throw;
  }
}

Array& Array::operator=(const Array& other) {
  if (this != &other) {
    Array copy(other);
    Swap(copy);
  }
  return *this;
}

Array::~Array() {
  DeleteSlots(fData, fCapacity);
}

void Array::Swap(Array& other) noexcept {
  std::swap(fData, other.fData);
  std::swap(fCapacity, other.fCapacity);
  std::swap(fCount, other.fCount);
}

CPOSObject Array::GetAt(uint64_t index) const {
  if (index >= fCount) return CPOSObject();
  return fData[index];
}

void Array::EnsureCapacity(uint32_t needed) {
  if (fCapacity >= needed) return;
  // Counted in 64 bits: a capacity of 2^32 slots or more can't be held, and
  // is as much out of memory as a refused Alloc.
  uint64_t capacity = fCapacity == 0 ? 4 : uint64_t{fCapacity} * 2;
  while (capacity < needed) capacity *= 2;
  if (capacity > UINT32_MAX) throw std::bad_alloc();
  CPOSObject* slots = NewSlots(static_cast<uint32_t>(capacity));
  // The members move to the new block with their references: a CPOSObject is
  // two plain words, so nothing is counted twice and nothing can fail here.
  for (uint32_t i = 0; i < fCount; ++i) slots[i] = std::move(fData[i]);
  DeleteSlots(fData, fCapacity);
  fData = slots;
  fCapacity = static_cast<uint32_t>(capacity);
}

void Array::Append(const CPOSObject& value) {
  EnsureCapacity(fCount + 1);
  fData[fCount] = value;
  ++fCount;
}

void Array::Append(CPOSObject&& value) {
  EnsureCapacity(fCount + 1);
  fData[fCount] = static_cast<CPOSObject&&>(value);
  ++fCount;
}

void Array::SetAt(uint64_t index, const CPOSObject& value) {
  // The count is 32-bit: an index whose successor does not fit can never be
  // stored.
  if (index >= UINT32_MAX) throw std::bad_alloc();
  uint32_t slot = static_cast<uint32_t>(index);
  EnsureCapacity(slot + 1);
  fData[slot] = value;
  if (slot >= fCount) fCount = slot + 1;
}

void Array::RemoveAt(uint64_t index) {
  if (index >= fCount) return;
  for (uint32_t i = static_cast<uint32_t>(index); i + 1 < fCount; ++i) {
    fData[i] = std::move(fData[i + 1]);
  }
  fData[fCount - 1].Reset();
  --fCount;
}

}  // namespace NPOSObjectImpl
