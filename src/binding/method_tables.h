// Per-signature method tables. A container names its set of methods by its
// signature; the library fetches those methods once per signature with
// GetMethod and keeps them in a list entry. When the runtime unregisters
// anything, the unregister counter moves and the next lookup refreshes the
// entry in place: the address of its fProcs never changes, so handles made
// earlier keep a valid pointer and see the new procedures.
//
// The hit path is one atomic exchange, a walk of a short list comparing
// pointers, one read of the counter and one atomic exchange.
#ifndef MOXUTILS_BINDING_METHOD_TABLES_H_
#define MOXUTILS_BINDING_METHOD_TABLES_H_

#include <cstddef>
#include <cstdint>

#include "binding/client_base.h"
#include "binding/host_tables.h"
#include "binding/lazy_terminate.h"
#include "binding/linked_list.h"
#include "binding/string_holder.h"

namespace MOX_T_MT {

class MOXVTabGeneric;
using MOXVTabListHeader = no_construct_double_linked_list<MOXVTabGeneric, CMOXClientBasePMT>;

// The list of one per-signature interface. Valid as zeroed static storage
// apart from fMethodCount, which is a constant of the interface.
struct MOXVTabListGeneric : MOXVTabListHeader {
  uint32_t fLock;         // spin lock word
  uint64_t fMethodCount;  // methods in each entry
};

// One entry: one block of the runtime's memory, the fixed fields followed by
// one pointer for each method.
class MOXVTabGeneric : public double_linked_list_element<MOXVTabGeneric, CMOXClientBasePMT> {
 public:
  // Allocates an entry for `methodCount` methods and links it at the head.
  static MOXVTabGeneric* New(MOXVTabListGeneric* list);
  ~MOXVTabGeneric() override;

  CMOXStringHolder fSignature;  // its C string is the key of the entry
  uint64_t fStamp;              // counter value at the last fetch
  uint8_t fValid;               // the last fetch found every method
  void* fProcs[1];              // fMethodCount slots

 private:
  explicit MOXVTabGeneric(MOXVTabListGeneric* list);
};

// Fills `procs` with the methods of `container` named by `rows`. Quiet: an
// absent method returns false at once, later slots keep their contents. Not
// quiet: the runtime raises the absence as an error.
bool MOXFetchMethods(const MOXMethodRow* rows, size_t count, MOXContainer container, bool quiet,
                     void** procs);

// The fetch procedure of one interface.
using MOXFetchProc = bool (*)(MOXContainer container, bool quiet, void** procs);

// The fetch procedure of the interface whose slots are `SlotEnum`
// (MOX_DEFINE_SLOTS): MOXFetchMethods with its rows.
template <typename SlotEnum>
bool MOXFetchSlots(MOXContainer container, bool quiet, void** procs) {
  return MOXFetchMethods(MOXSlotRows(SlotEnum()), MOXSlotCount(SlotEnum()), container, quiet,
                         procs);
}

// The methods of `container` for the list's interface: the entry of its
// signature, made or refreshed as needed. "couldn't get signature" for a null
// container or one without a signature; "invalid container" when a method is
// missing, remembered until the counter moves.
void** MOXLookupProcTable(MOXVTabListGeneric* list, MOXFetchProc fetch, MOXContainer container);

// Deletes every entry of `list`: the host is still bound.
void MOXDeleteAllEntries(MOXVTabListGeneric* list);

// A termination-list member that owns one method-table list.
class MOXVTabListOwner : public LazyTerminate {
 public:
  // `abandonClears`: whether Abandon forgets the entries (clears the head) or
  // leaves the list as it is.
  MOXVTabListOwner(MOXVTabListGeneric* list, bool abandonClears)
      : fOwnedList(list), fAbandonClears(abandonClears) {}
  void Terminate() override { MOXDeleteAllEntries(fOwnedList); }
  void Abandon() override;

  MOXVTabListGeneric* OwnedList() const { return fOwnedList; }

 private:
  MOXVTabListGeneric* fOwnedList;
  bool fAbandonClears;
};

// A list that terminates itself, with the fetch procedure of its interface.
class DelVTabListGeneric : public LazyTerminate, public MOXVTabListGeneric {
 public:
  DelVTabListGeneric(uint64_t methodCount, MOXFetchProc fetch);
  void Terminate() override { MOXDeleteAllEntries(this); }
  void Abandon() override { fHead = nullptr; }
  void** Lookup(MOXContainer container) { return MOXLookupProcTable(this, fFetch, container); }

  MOXFetchProc fFetch;
};

template <class P>
class TDelVTabList : public DelVTabListGeneric {
 public:
  TDelVTabList() : DelVTabListGeneric(P::kMethodCount, &P::Fetch) {}
};

// The three interfaces whose lists terminate themselves. No client of this
// library asks them for a table; they are there for client classes of those
// interfaces.
struct MOXDataStoreTraits {
  struct proctable_type {
    static constexpr uint64_t kMethodCount = 1;
    static bool Fetch(MOXContainer container, bool quiet, void** procs);
  };
};
struct MOXSizedDataStoreTraits {
  struct proctable_type {
    static constexpr uint64_t kMethodCount = 1;
    static bool Fetch(MOXContainer container, bool quiet, void** procs);
  };
};
struct MOXDataBlockStreamTraits {
  struct proctable_type {
    static constexpr uint64_t kMethodCount = 2;
    static bool Fetch(MOXContainer container, bool quiet, void** procs);
  };
};

TDelVTabList<MOXDataStoreTraits::proctable_type>& MOXDataStoreVTabList();
TDelVTabList<MOXSizedDataStoreTraits::proctable_type>& MOXSizedDataStoreVTabList();
TDelVTabList<MOXDataBlockStreamTraits::proctable_type>& MOXDataBlockStreamVTabList();

}  // namespace MOX_T_MT

#endif  // MOXUTILS_BINDING_METHOD_TABLES_H_
