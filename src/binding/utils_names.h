// The ten atoms built at start, so that entry points compare instance names by
// pointer and pass atoms to the runtime without making any.
#ifndef MOXUTILS_BINDING_UTILS_NAMES_H_
#define MOXUTILS_BINDING_UTILS_NAMES_H_

#include <cstdint>

#include "binding/string_holder.h"

class CMOXUtilsNames {
 public:
  // Makes the atoms in member order; a failure releases those already made.
  CMOXUtilsNames();

  // Allocates from the runtime and builds; std::bad_alloc on failure, with
  // nothing left behind.
  static CMOXUtilsNames* New();
  // Releases the atoms in reverse order and frees the storage.
  static void Delete(CMOXUtilsNames* names);

  CMOXStringHolder fObjectImpl;             // "POSObjectImpl"
  CMOXStringHolder fObjectInterface;        // "POSObjectInterface"
  CMOXStringHolder fDictIteratorImpl;       // "POSDictIteratorImpl"
  CMOXStringHolder fDictIteratorInterface;  // "POSDictIteratorInterface"
  CMOXStringHolder fStreamerImpl;           // "POSStreamerImpl"
  CMOXStringHolder fStreamerInterface;      // "POSStreamerInterface"
  // Validators, and directory objects too: both are made and found under this
  // pair of names.
  CMOXStringHolder fValidatorImpl;       // "POSValidatorImpl"
  CMOXStringHolder fValidatorInterface;  // "POSValidatorInterface"
  // Built and released, never read.
  CMOXStringHolder fUtilsDirName;       // "MOXUtilsDir"
  CMOXStringHolder fUtilsDirInterface;  // "MOXUtilsDirInterface"
};

// The word that follows the vtable pointer of every validator instance.
// Validators and directory objects are both made and found under
// fValidatorImpl, so an instance found there may be either; each kind reads
// the word at offset 8 before it trusts the instance to be its own (a
// directory record is two words, so the read stays within it). A
// non-canonical address can never be a pointer, which is all a directory
// record holds there: the C string of its path.
constexpr uintptr_t kMOXValidatorInstanceTag = 0x8000'5641'4C49'4400u;

// Null while the library is stopped.
extern CMOXUtilsNames* gMOXUtilsNames;

#endif  // MOXUTILS_BINDING_UTILS_NAMES_H_
