// CMOXStringHolder owns one reference to a runtime string atom. Atoms are
// interned: two holders of equal text have equal CString() pointers, which is
// what lets names be compared by pointer everywhere in the library.
//
// A holder belongs to one thread at a time; the atom it holds may be shared,
// and the runtime keeps its count safe across threads.
#ifndef MOXUTILS_BINDING_STRING_HOLDER_H_
#define MOXUTILS_BINDING_STRING_HOLDER_H_

#include <cstdint>

#include "MOXTypes.h"

class CMOXStringHolder {
 public:
  // Empty: no atom, no text, and no call to the runtime, now or at the end.
  CMOXStringHolder() noexcept : fAtom(nullptr), fCString(nullptr) {}
  // The atom of `text`; std::bad_alloc when the runtime can't make it.
  explicit CMOXStringHolder(const char* text);
  // Takes over the caller's reference to `atom`: no AddRef. A null atom gives
  // an empty holder.
  static CMOXStringHolder Adopt(MOXStringAtom atom);
  // Takes a reference of its own to `atom`, the caller keeping theirs. A null
  // atom gives an empty holder.
  static CMOXStringHolder Retain(MOXStringAtom atom);
  // The atom of "0x" and sixteen lower-case hexadecimal digits of `value`.
  explicit CMOXStringHolder(uint64_t value);
  CMOXStringHolder(const CMOXStringHolder& other);
  CMOXStringHolder(CMOXStringHolder&& other) noexcept;
  CMOXStringHolder& operator=(CMOXStringHolder other) noexcept;
  ~CMOXStringHolder();

  // A holder of the text of `first` followed by that of `second`; an empty
  // holder counts as the empty text.
  static CMOXStringHolder Concat(const CMOXStringHolder& first, const CMOXStringHolder& second);

  // Drops the reference now; the holder becomes empty.
  void Reset() noexcept;
  bool IsEmpty() const { return fAtom == nullptr; }
  // The atom, still owned by the holder; null when empty.
  MOXStringAtom Atom() const { return fAtom; }
  // Its text, alive as long as the holder keeps the atom; null when empty.
  const char* CString() const { return fCString; }

 private:
  // Stores `atom` and its text, taking a reference unless `adopt`.
  CMOXStringHolder(MOXStringAtom atom, bool adopt);

  MOXStringAtom fAtom;
  const char* fCString;
};

#endif  // MOXUTILS_BINDING_STRING_HOLDER_H_
