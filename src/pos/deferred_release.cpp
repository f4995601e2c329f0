#include "pos/deferred_release.h"

#include <new>

#include "binding/host_tables.h"
#include "binding/stack_guard.h"

namespace NPOSObjectImpl {

using MOX_T_MT::CPOSObject;

namespace {

// A deferred slot block keeps its members' references in place, one
// container word per slot, and lends the words that held method tables (no
// longer needed to release) to the list: slot 0's to the link, slot 1's to
// the block's capacity. A block has at least four slots.
struct PendingSlot {
  MOXContainer container;
  uintptr_t word;
};
static_assert(sizeof(PendingSlot) == sizeof(CPOSObject), "a pending slot overlays a member slot");

// The thread's state. Static TLS (initial-exec), as for the stack guard: a
// release must never depend on __tls_get_addr allocating.
//   tDepth: releasing destructors running on this thread; the one at depth 1
//     drains the lists.
//   tBlocks: deferred slot blocks, linked through slot 0.
//   tRoots: root nodes of deferred dictionary trees, linked through their
//     parent words (a root has no parent).
__attribute__((tls_model("initial-exec"))) thread_local uint32_t tDepth = 0;
__attribute__((tls_model("initial-exec"))) thread_local PendingSlot* tBlocks = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local DictNode* tRoots = nullptr;

void ReleasePendingBlock(PendingSlot* block) noexcept {
  const uintptr_t capacity = block[1].word;
  for (uintptr_t i = 0; i < capacity; ++i) MOXContainerProcs::Release(block[i].container);
  MOXMemory::Free(block);
}

// Releases what was deferred; each release may defer more, which the loop
// takes up in turn. Runs at depth 1, so nested destructors only defer.
void Drain() noexcept {
  while (tBlocks != nullptr || tRoots != nullptr) {
    if (tBlocks != nullptr) {
      PendingSlot* block = tBlocks;
      tBlocks = reinterpret_cast<PendingSlot*>(block[0].word);
      ReleasePendingBlock(block);
    } else {
      DictNode* root = tRoots;
      tRoots = root->fParent;
      root->fParent = nullptr;
      DictTree::DeleteNodes(root);
    }
  }
}

// One releasing destructor; the outermost drains what the others deferred.
class ReleaseScope {
 public:
  ReleaseScope() noexcept { ++tDepth; }
  ~ReleaseScope() {
    if (tDepth == 1) Drain();
    --tDepth;
  }
  ReleaseScope(const ReleaseScope&) = delete;
  ReleaseScope& operator=(const ReleaseScope&) = delete;
};

}  // namespace

void ReleaseSlotBlock(CPOSObject* slots, uint32_t capacity) noexcept {
  ReleaseScope scope;
  if (slots == nullptr) return;
  if (capacity < 2 || MOX_T_MT::HasStackReserve()) {
    for (uint32_t i = 0; i < capacity; ++i) slots[i].~CPOSObject();
    MOXMemory::Free(slots);
    return;
  }
  // Each slot's reference moves into the pending slot over it, read before
  // written.
  PendingSlot* block = reinterpret_cast<PendingSlot*>(slots);
  for (uint32_t i = 0; i < capacity; ++i) {
    MOXContainer container = slots[i].Relinquish();
    slots[i].~CPOSObject();
    new (&block[i]) PendingSlot{container, 0};
  }
  block[0].word = reinterpret_cast<uintptr_t>(tBlocks);
  block[1].word = capacity;
  tBlocks = block;
}

void ReleaseDictTree(DictTree* tree) noexcept {
  ReleaseScope scope;
  DictNode* root = tree->TakeRoot();
  if (MOX_T_MT::HasStackReserve()) {
    DictTree::DeleteNodes(root);
  } else if (root != nullptr) {
    root->fParent = tRoots;
    tRoots = root;
  }
}

}  // namespace NPOSObjectImpl
