#include "pos/pos_object.h"

#include "binding/errors.h"
#include "binding/stack_guard.h"
#include "pos/nested_clone.h"

namespace MOX_T_MT {

namespace {

// Constant-initialised, so that its owner can link itself whatever the order
// of static construction.
MOXVTabListGeneric gPOSObjectList = {{nullptr, 0}, 0, POSObjectSlots::kMethodCount};

// Owns the list in the termination family. The stop deletes the entries; at
// process exit the entries stay where they are (the default Abandon).
class CPOSObjectTerminate : public MOXVTabListOwner {
 public:
  CPOSObjectTerminate() : MOXVTabListOwner(&gPOSObjectList, /*abandonClears=*/false) {}
};

CPOSObjectTerminate gPOSObjectTerminate;

}  // namespace

MOXVTabListGeneric* POSObjectVTabList() {
  return &gPOSObjectList;
}

CPOSObject::CPOSObject(MOXContainer container) : CMOXContainerRef(container), fProcs(nullptr) {
  // A throw here releases the reference through the base's destructor.
  fProcs = MOXLookupProcTable(&gPOSObjectList, &MOXFetchSlots<POSObjectSlots::Slot>, container);
}

CPOSObject::CPOSObject(MOXContainer container, BorrowTag) : fProcs(nullptr) {
  if (container == nullptr) MOXThrowInvalidContainer();
  fProcs = MOXLookupProcTable(&gPOSObjectList, &MOXFetchSlots<POSObjectSlots::Slot>, container);
  Attach(container);
}

CPOSObject& CPOSObject::operator=(const CPOSObject& other) {
  CPOSObject copy(other);
  *this = static_cast<CPOSObject&&>(copy);
  return *this;
}

CPOSObject& CPOSObject::operator=(CPOSObject&& other) noexcept {
  if (this != &other) {
    MOXContainer old = Detach();
    Attach(other.Detach());
    fProcs = other.fProcs;
    other.fProcs = nullptr;
    MOXContainerProcs::Release(old);
  }
  return *this;
}

void CPOSObject::Reset() noexcept {
  MOXContainer old = Detach();
  fProcs = nullptr;
  MOXContainerProcs::Release(old);
}

CPOSObject CPOSObject::Clone() const {
  NPOSObjectImpl::TakeStackRefusal();
  MOXContainer copy =
      fProcs == nullptr ? nullptr : MOXProcAt<POSObjectSlots::Clone>(fProcs)(Container());
  if (copy == nullptr) {
    // A member too deep for the stack passes the refusal up unreported.
    if (NPOSObjectImpl::TakeStackRefusal()) throw StackExhausted();
    throw POSException("CPOSObject::Clone failed");
  }
  return CPOSObject(copy);
}

bool CPOSObject::IsEqual(const CPOSObject& other) const {
  // An empty object has no table to ask; it equals only another empty one.
  if (fProcs == nullptr) return other.IsEmpty();
  return MOXProcAt<POSObjectSlots::IsEqual>(fProcs)(Container(), other.Container());
}

MOXContainer CPOSObject::GiveAway() noexcept {
  MOXContainer container = Detach();
  fProcs = nullptr;
  if (container != nullptr) MOXContainerProcs::DecrementWithoutDelete(container);
  return container;
}

}  // namespace MOX_T_MT
