#include "pos/nested_clone.h"

namespace NPOSObjectImpl {

namespace {

// Static TLS, as for the stack guard.
__attribute__((tls_model("initial-exec"))) thread_local uint32_t tCloneEntries = 0;
__attribute__((tls_model("initial-exec"))) thread_local bool tStackRefusal = false;

}  // namespace

CloneEntryScope::CloneEntryScope() noexcept {
  ++tCloneEntries;
}

CloneEntryScope::~CloneEntryScope() {
  --tCloneEntries;
}

bool CloneEntryScope::IsNested() const noexcept {
  return tCloneEntries > 1;
}

void NoteStackRefusal() noexcept {
  tStackRefusal = true;
}

bool TakeStackRefusal() noexcept {
  const bool refused = tStackRefusal;
  tStackRefusal = false;
  return refused;
}

}  // namespace NPOSObjectImpl
