// Reading and changing a tree of POS objects at an address, through the
// library's interfaces.
#ifndef POSCTL_TREE_ACCESS_H_
#define POSCTL_TREE_ACCESS_H_

#include <string>

#include "address.h"
#include "library_session.h"

namespace posctl {

// "a number", "an array of 3 members", "a dictionary of 1 key", ... for
// messages.
std::string DescribeObject(const Procs& procs, MOXContainer object);

// What `address` reaches from `top`, or null with `*why` saying what the
// longest part of the address that reaches something holds: "('a.b' is a
// number)". A DeepGet address is read by the library's DeepGet; since that
// starts at a dictionary, any other top level is reached with a leading
// subscript ("[0]" for the first member of an array).
MOXContainer FindAt(const Procs& procs, MOXContainer top, const Address& address, std::string* why);

// Puts `value` at `address`, whose parent must exist; `makeParents` makes
// missing dictionaries on the way. A key is put in a dictionary; an index of
// an array below its count replaces that member, equal to it (or "-" in a
// JSON Pointer) appends. The address of the top level replaces the whole
// tree. Returns the top of the tree afterwards. Throws ToolError naming
// `where` when the address can't take the value.
Ref SetAt(const Procs& procs, const Ref& top, const Address& address, const Ref& value,
          bool makeParents, const std::string& where);

// Removes what `address` reaches: a key of a dictionary, or a member of an
// array, whose followers move up. Throws ToolError naming `where` when
// there is nothing.
void DeleteAt(const Procs& procs, MOXContainer top, const Address& address,
              const std::string& where);

}  // namespace posctl

#endif  // POSCTL_TREE_ACCESS_H_
