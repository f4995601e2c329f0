// A guard against running a thread out of stack in the library's recursive
// walks. Every walk of a POS tree recurses once per level of nesting, so the
// depth of the data sets the stack used: a text of a million opening
// brackets, or an array built 200,000 levels deep with Append, would
// overflow the calling thread's stack and take the host process down with
// it. The guard lets each walk stop while a reserve of stack is still left:
//
//   - the walks that build or read (the notation parser, the TypeA reader and
//     writer, Clone, IsEqual, the validator's walk) call CheckStackReserve()
//     before each level and refuse the data with StackExhausted, which their
//     entry point reports as "nesting too deep for the stack";
//   - destruction asks HasStackReserve() and, past the reserve, defers the
//     releases that would go deeper to a list that the outermost level
//     drains, so that any tree is released in full (pos/deferred_release.h);
//   - DeepGet walks its address in a loop and needs no guard.
//
// How deep a walk gets: the reserve is a quarter of the thread's stack, at
// most 256 KiB, so on a default 8 MiB stack a walk may use 7.75 MiB. The
// TypeA reader and writer take about 200 bytes a level in an optimised build,
// which lets them go some 40,000 levels deep; a walk with larger frames, or
// any walk in a sanitizer build, goes proportionally less deep. A thread with
// a 1 MiB stack gives the TypeA reader about 4,000 levels.
//
// Any thread may call these; the bounds of each thread's stack are learnt
// once, on its first call. On a thread whose bounds can't be learnt the guard
// always sees room.
#ifndef MOXUTILS_BINDING_STACK_GUARD_H_
#define MOXUTILS_BINDING_STACK_GUARD_H_

#include "binding/errors.h"

namespace MOX_T_MT {

// The refusal of a walk that would go deeper than the stack allows. A
// POSException, so every entry point reports it as it reports any other.
class StackExhausted : public POSException {
 public:
  StackExhausted() noexcept : POSException("nesting too deep for the stack") {}
};

// True while the calling thread has more than its reserve of stack left.
bool HasStackReserve() noexcept;

// Raises StackExhausted when the calling thread has less than its reserve of
// stack left.
void CheckStackReserve();

}  // namespace MOX_T_MT

#endif  // MOXUTILS_BINDING_STACK_GUARD_H_
