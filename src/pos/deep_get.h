// DeepGet: one address reaches into a tree of dictionaries and arrays.
//
//   address := step*          the walk starts at a Dict
//   step    := "." key        the value under key (key runs to the next "." or
//                             "[", may be empty, may hold "]")
//            | "[" digits "]" the member at that index of an Array
//
// An address that does not start with "." gets one, so "a[0].b" and
// ".a[0].b" are the same; the rule looks at the first character only, so
// "[0]" means member 0 of the value under the empty key.
//
// A subscript is read with strtol and cut to a signed 32-bit value before the
// comparison with the count, to the last bit: 4294967296 reaches member 0,
// and 2147483648 turns negative, reads as huge, and misses.
#ifndef MOXUTILS_POS_DEEP_GET_H_
#define MOXUTILS_POS_DEEP_GET_H_

#include "binding/string_holder.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {

class Dict;

// Walks `address` from `dict` on a private copy. A miss gives an empty object
// when `quiet`; otherwise it raises "Dict::DeepGet lookup failed", whatever
// the step that missed. Out of memory for the copy raises std::bad_alloc in
// both modes.
CPOSObject DeepGetValue(Dict* dict, const CMOXStringHolder& address, bool quiet);

// The walk from `object` (which may be null), one step after another in a
// loop, so an address of any length needs no more stack than a short one.
// `address` is writable: a subscript's "]" is overwritten. Each
// miss gives an empty object when `quiet`, and otherwise raises its own text:
// "Dict::DeepGet entry on non-dict", "Dict::Get lookup failed", "Dict::DeepGet
// subscript on non-array", "Dict::DeepGet malformed array subscript []",
// "Dict::DeepGet subscript out of range", or "Dict::DeepGet malformed address
// at: " followed by up to six characters of the rest of the address.
CPOSObject DeepLookup(BaseObject* object, char* address, bool quiet);

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_DEEP_GET_H_
