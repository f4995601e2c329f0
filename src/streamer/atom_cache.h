// AtomCache keeps the atoms of the texts met last, so that a text that comes
// back (the keys of the dictionaries of one document, mostly) is matched by
// comparing bytes instead of being interned again.
//
// It holds one reference on each atom it keeps until it is destroyed or the
// slot is taken by another text. One object serves one thread.
#ifndef MOXUTILS_STREAMER_ATOM_CACHE_H_
#define MOXUTILS_STREAMER_ATOM_CACHE_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "binding/string_holder.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

class AtomCache {
 public:
  AtomCache() = default;
  AtomCache(const AtomCache&) = delete;
  AtomCache& operator=(const AtomCache&) = delete;

  // A holder of the atom whose text is `text` (or of a text of the same
  // bytes), alive until the next call: a text that is itself an atom's text,
  // met again at the same address, is found by its address alone.
  const CMOXStringHolder& Find(const char* text) {
    Slot& slot = fSlots[(reinterpret_cast<uintptr_t>(text) >> 4) % kSlots];
    if (slot.holder.CString() != text) {
      slot.holder = CMOXStringHolder(text);
      slot.length = 0;  // unknown: Get() then never matches this slot
    }
    return slot.holder;
  }

  // A holder of the atom of the `length` bytes at `text`, which end in a
  // terminator and hold no zero byte before it. std::bad_alloc when the
  // runtime can't make the atom.
  CMOXStringHolder Get(const char* text, size_t length) {
    Slot& slot = fSlots[SlotOf(text, length)];
    if (slot.holder.IsEmpty() || slot.length != length || length == 0 ||
        std::memcmp(slot.holder.CString(), text, length) != 0) {
      slot.holder = CMOXStringHolder(text);
      slot.length = length;
    }
    return slot.holder;
  }

 private:
  static constexpr size_t kSlots = 64;

  struct Slot {
    CMOXStringHolder holder;
    size_t length = 0;
  };

  static size_t SlotOf(const char* text, size_t length) {
    const unsigned char first = length != 0 ? static_cast<unsigned char>(text[0]) : 0;
    const unsigned char last = length != 0 ? static_cast<unsigned char>(text[length - 1]) : 0;
    const unsigned char middle = static_cast<unsigned char>(text[length / 2]);
    return (length * 31 + first * 7 + last * 3 + middle) % kSlots;
  }

  Slot fSlots[kSlots];
};

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_ATOM_CACHE_H_
