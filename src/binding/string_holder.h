// CMOXStringHolder owns one reference to a runtime string atom. Atoms are
// interned: two holders of equal text have equal fCString pointers, which is
// what lets names be compared by pointer everywhere in the library.
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
  // Holds `atom`: takes over the caller's reference with `adopt`, otherwise
  // takes a reference of its own. A null atom gives an empty holder.
  CMOXStringHolder(MOXStringAtom atom, bool adopt);
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
  const char* CString() const { return fCString; }

  MOXStringAtom fAtom;
  const char* fCString;
};

#endif  // MOXUTILS_BINDING_STRING_HOLDER_H_
