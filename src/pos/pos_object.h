// CPOSObject: the client handle of any POS object.
//
// A CPOSObject owns one reference to the object's container and points at the
// methods of the container's signature (Clone, IsEqual), fetched once per
// signature and kept in a process-wide list. Arrays and dictionaries store
// their members in exactly this form, and every client of the object model
// (the text parser, the streamer, the validator) holds objects in it.
//
//   CPOSObject copy = object.Clone();   // deep for arrays and dictionaries
//   if (copy.IsEqual(object)) ...
//
// Client operations raise exceptions and never report; they end at the entry
// point that called them. No handle may outlive MOXUtilsTerminate: its method
// table belongs to a list entry that the stop deletes.
#ifndef MOXUTILS_POS_POS_OBJECT_H_
#define MOXUTILS_POS_POS_OBJECT_H_

#include <cstddef>

#include "MOXTypes.h"
#include "POSProcs.h"
#include "binding/container_ref.h"
#include "binding/method_tables.h"

namespace MOX_T_MT {

// The methods of POSObjectInterface, the per-signature table of every POS
// object.
MOX_DEFINE_SLOTS(POSObjectSlots, POS_OBJECT_INTERFACE_METHODS)

// The per-signature list of POS object method tables, owned by the
// termination-list member CPOSObjectTerminate: the stop deletes its entries,
// the process exit leaves them where they are.
MOXVTabListGeneric* POSObjectVTabList();

class CPOSObject : public CMOXContainerRef {
 public:
  // Empty: no container, no method table.
  CPOSObject() noexcept : fProcs(nullptr) {}
  // Counted: takes a reference, then the method table of the container's
  // signature. A null container raises "invalid container"; a container
  // without a signature "couldn't get signature"; one that lacks a method
  // "invalid container".
  explicit CPOSObject(MOXContainer container);
  // Copying an empty object gives an empty object.
  CPOSObject(const CPOSObject& other) : CMOXContainerRef(other), fProcs(other.fProcs) {}
  CPOSObject(CPOSObject&& other) noexcept
      : CMOXContainerRef(static_cast<CMOXContainerRef&&>(other)), fProcs(other.fProcs) {
    other.fProcs = nullptr;
  }
  CPOSObject& operator=(const CPOSObject& other);
  CPOSObject& operator=(CPOSObject&& other) noexcept;
  ~CPOSObject() = default;

  // Drops the reference; the object becomes empty.
  void Reset() noexcept;

  // Clone through the object's own table. Immutable values come back as
  // themselves, arrays and dictionaries as new trees. A failure inside the
  // clone (reported by its entry point) raises "CPOSObject::Clone failed".
  CPOSObject Clone() const;
  // IsEqual through the object's own table, with this object first: for
  // dictionaries the question is one-sided (see Dict).
  bool IsEqual(const CPOSObject& other) const;

  // The container given up for a foreign caller: its count drops by one
  // without deleting, and this object becomes empty.
  MOXContainer GiveAway() noexcept;
  // The container with this object's reference, handed to the caller with no
  // call to the runtime: the caller releases it. This object becomes empty.
  MOXContainer Relinquish() noexcept {
    fProcs = nullptr;
    return Detach();
  }

  // The method table of the object's signature; null when empty.
  void** Procs() const { return fProcs; }

 protected:
  // Borrows `container`: holds it and its method table without a reference
  // of its own. A null container raises "invalid container".
  struct BorrowTag {};
  CPOSObject(MOXContainer container, BorrowTag);
  // The end of a borrow: lets go of the container and the table with no call
  // to the runtime.
  void Forget() noexcept {
    Detach();
    fProcs = nullptr;
  }

 private:
  void** fProcs;
};

// A CPOSObject that borrows the caller's reference for the span of one call
// instead of taking its own, so that the caller's count stays as it was, even
// at zero. A null container raises "invalid container"; the method table is
// looked up as for a CPOSObject.
class CPOSBorrowedObject : public CPOSObject {
 public:
  explicit CPOSBorrowedObject(MOXContainer container) : CPOSObject(container, BorrowTag()) {}
  ~CPOSBorrowedObject() { Forget(); }
  CPOSBorrowedObject(const CPOSBorrowedObject&) = delete;
  CPOSBorrowedObject& operator=(const CPOSBorrowedObject&) = delete;
};

static_assert(sizeof(CPOSObject) == 2 * sizeof(void*),
              "a member slot of an Array or Dict is exactly a CPOSObject");

}  // namespace MOX_T_MT

#endif  // MOXUTILS_POS_POS_OBJECT_H_
