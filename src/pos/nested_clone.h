// One report for a clone too deep for the stack.
//
// Clone copies a tree through one Clone entry per level: an Array or Dict
// clones each member through the member's own table, and each entry reports
// what stops it, so a failure deep down gives one report for each level
// above it ("CPOSObject::Clone failed"). For the refusal of a tree deeper
// than the stack that would be tens of thousands of reports. So that refusal
// alone passes up silently: a nested Clone entry notes it and returns null,
// CPOSObject::Clone raises it again in its caller's level, and the outermost
// Clone entry on the thread reports it once.
#ifndef MOXUTILS_POS_NESTED_CLONE_H_
#define MOXUTILS_POS_NESTED_CLONE_H_

#include <cstdint>

namespace NPOSObjectImpl {

// The span of one Clone entry on the calling thread.
class CloneEntryScope {
 public:
  CloneEntryScope() noexcept;
  ~CloneEntryScope();
  CloneEntryScope(const CloneEntryScope&) = delete;
  CloneEntryScope& operator=(const CloneEntryScope&) = delete;

  // True when another Clone entry runs below this one on the thread.
  bool IsNested() const noexcept;
};

// Notes that a nested Clone entry returned null for want of stack.
void NoteStackRefusal() noexcept;
// Whether a refusal was noted since the last call; clears the note.
bool TakeStackRefusal() noexcept;

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_NESTED_CLONE_H_
