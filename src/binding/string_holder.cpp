#include "binding/string_holder.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <utility>

#include "binding/errors.h"
#include "binding/host_tables.h"

CMOXStringHolder::CMOXStringHolder(const char* text)
    : fAtom(MOXString::NewStringAtom(text)), fCString(nullptr) {
  if (fAtom == nullptr) MOXThrowBadAlloc();
  fCString = MOXString::GetCString(fAtom);
}

CMOXStringHolder::CMOXStringHolder(MOXStringAtom atom, bool adopt)
    : fAtom(atom), fCString(nullptr) {
  if (fAtom == nullptr) return;
  if (!adopt) MOXString::AddRef(fAtom);
  fCString = MOXString::GetCString(fAtom);
}

CMOXStringHolder CMOXStringHolder::Adopt(MOXStringAtom atom) {
  return CMOXStringHolder(atom, true);
}

CMOXStringHolder CMOXStringHolder::Retain(MOXStringAtom atom) {
  return CMOXStringHolder(atom, false);
}

CMOXStringHolder::CMOXStringHolder(uint64_t value) : fAtom(nullptr), fCString(nullptr) {
  char text[19];
  std::snprintf(text, sizeof text, "0x%016" PRIx64, value);
  *this = CMOXStringHolder(static_cast<const char*>(text));
}

CMOXStringHolder::CMOXStringHolder(const CMOXStringHolder& other)
    : fAtom(other.fAtom), fCString(other.fCString) {
  if (fAtom != nullptr) MOXString::AddRef(fAtom);
}

CMOXStringHolder::CMOXStringHolder(CMOXStringHolder&& other) noexcept
    : fAtom(other.fAtom), fCString(other.fCString) {
  other.fAtom = nullptr;
  other.fCString = nullptr;
}

CMOXStringHolder& CMOXStringHolder::operator=(CMOXStringHolder other) noexcept {
  std::swap(fAtom, other.fAtom);
  std::swap(fCString, other.fCString);
  return *this;
}

CMOXStringHolder::~CMOXStringHolder() {
  Reset();
}

void CMOXStringHolder::Reset() noexcept {
  if (fAtom != nullptr) MOXString::DeleteStringAtom(fAtom);
  fAtom = nullptr;
  fCString = nullptr;
}

CMOXStringHolder CMOXStringHolder::Concat(const CMOXStringHolder& first,
                                          const CMOXStringHolder& second) {
  size_t firstLength = first.fCString != nullptr ? std::strlen(first.fCString) : 0;
  size_t secondLength = second.fCString != nullptr ? std::strlen(second.fCString) : 0;
  char* text = static_cast<char*>(MOXMemory::AllocOrThrow(firstLength + secondLength + 1));
  if (firstLength != 0) std::memcpy(text, first.fCString, firstLength);
  if (secondLength != 0) std::memcpy(text + firstLength, second.fCString, secondLength);
  text[firstLength + secondLength] = '\0';
  try {
    CMOXStringHolder joined(static_cast<const char*>(text));
    MOXMemory::Free(text);
    return joined;
  } catch (...) {
    MOXMemory::Free(text);
    throw;
  }
}
