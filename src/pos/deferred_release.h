// Releasing the members of an Array or Dict without overflowing the stack.
//
// A container's destruction releases its members, and the release of the
// last reference to a member makes the runtime call that member's delete
// procedure, whose destructor releases its own members: destruction recurses
// through the runtime once per level of the tree, a few hundred bytes a
// level. A tree built 200,000 levels deep with Append would overflow any
// ordinary stack when its root is released.
//
// So each releasing destructor asks the stack guard first. While there is
// room it releases its members at once, exactly as it always did, so a tree
// that fits the stack is released in the same order, release procedures of
// raw pointers included. Past the reserve it hands its block of members over
// to a list of the calling thread instead, and the outermost releasing
// destructor on that thread drains the list in a loop, where each release
// starts again from a shallow stack. Destruction thus always completes, at
// any depth, and needs no memory of its own: a deferred block carries its
// own link.
//
// Any thread may release; each thread has its own list.
#ifndef MOXUTILS_POS_DEFERRED_RELEASE_H_
#define MOXUTILS_POS_DEFERRED_RELEASE_H_

#include <cstdint>

#include "pos/dict_tree.h"
#include "pos/pos_object.h"

namespace NPOSObjectImpl {

// Releases every slot of a block of `capacity` member slots, in slot order,
// and frees the block (a null block is nothing to free) — now, or past the
// stack's reserve later, before the outermost release on this thread ends.
void ReleaseSlotBlock(MOX_T_MT::CPOSObject* slots, uint32_t capacity) noexcept;

// Deletes the nodes of `tree`, leaving it empty, releasing each node's value
// and key in the tree's post-order — now, or past the stack's reserve later,
// in the same way.
void ReleaseDictTree(DictTree* tree) noexcept;

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_DEFERRED_RELEASE_H_
