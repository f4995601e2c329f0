// String atoms: interned, reference-counted text.
//
// Equal text gives the same atom, and so the same C string pointer, for as
// long as one reference is held; components compare names by that pointer.
// The table is sharded by hash, and each shard has its own lock, taken only
// to find, insert or unlink an atom; AddRef and a release that does not end
// the atom touch nothing but the atom's own count.
#ifndef MOXHOST_ATOMS_H_
#define MOXHOST_ATOMS_H_

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "MOXTypes.h"
#include "registry.h"

struct MOXStringAtomOpaque {
  // Zero means dying: the atom is about to leave its shard and can no longer
  // be found, nor revived by interning its text again.
  std::atomic<int64_t> refs;
  MOXStringAtomOpaque* next;  // bucket chain, guarded by the shard's lock
  size_t hash;
  size_t length;
  // The text follows the header in the same block.
  char* Text() { return reinterpret_cast<char*>(this + 1); }
};

namespace moxhost {

// One reference for the caller; null when out of memory. Never fault-injected:
// this is the runtime's own path, not the one components call.
MOXStringAtom InternAtom(const char* text);
// An atom the runtime keeps for the life of the process.
MOXStringAtom PermanentAtom(const char* text);
namespace atoms_internal {
// After a release that brought the count of `atom` from `before` to
// `before - 1` when `before` was 1 or less: ends the atom, or reports the
// misuse.
void EndRelease(MOXStringAtom atom, int64_t before);
}  // namespace atoms_internal

// Drops one reference; accepts null. A reference that is not the last costs
// the count alone.
inline void ReleaseAtom(MOXStringAtom atom) {
  if (atom == nullptr) return;
  const int64_t before = atom->refs.fetch_sub(1, std::memory_order_acq_rel);
  if (__builtin_expect(before <= 1, 0)) atoms_internal::EndRelease(atom, before);
}
// Adds one reference; accepts null.
inline MOXStringAtom RetainAtom(MOXStringAtom atom) {
  if (atom != nullptr) atom->refs.fetch_add(1, std::memory_order_relaxed);
  return atom;
}
inline const char* AtomText(MOXStringAtom atom) {
  return atom != nullptr ? atom->Text() : nullptr;
}
// The live atom of `text` without taking a reference, or null. Safe only
// where something else keeps the atom alive while the result is used, or
// where the result is compared by address with atoms known to be alive.
MOXStringAtom FindAtom(const char* text);

InterfaceRows StringInterface();

}  // namespace moxhost

#endif  // MOXHOST_ATOMS_H_
