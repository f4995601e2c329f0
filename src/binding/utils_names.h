// The ten atoms built at start, so that entry points compare instance names by
// pointer and pass atoms to the runtime without making any.
#ifndef MOXUTILS_BINDING_UTILS_NAMES_H_
#define MOXUTILS_BINDING_UTILS_NAMES_H_

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

// Null while the library is stopped.
extern CMOXUtilsNames* gMOXUtilsNames;

#endif  // MOXUTILS_BINDING_UTILS_NAMES_H_
