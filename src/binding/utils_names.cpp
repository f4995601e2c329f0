#include "binding/utils_names.h"

#include <new>

#include "binding/host_tables.h"

CMOXUtilsNames* gMOXUtilsNames = nullptr;

CMOXUtilsNames::CMOXUtilsNames()
    : fObjectImpl("POSObjectImpl"),
      fObjectInterface("POSObjectInterface"),
      fDictIteratorImpl("POSDictIteratorImpl"),
      fDictIteratorInterface("POSDictIteratorInterface"),
      fStreamerImpl("POSStreamerImpl"),
      fStreamerInterface("POSStreamerInterface"),
      fValidatorImpl("POSValidatorImpl"),
      fValidatorInterface("POSValidatorInterface"),
      fUtilsDirName("MOXUtilsDir"),
      fUtilsDirInterface("MOXUtilsDirInterface") {}

CMOXUtilsNames* CMOXUtilsNames::New() {
  void* storage = MOXMemory::AllocOrThrow(sizeof(CMOXUtilsNames));
  try {
    return new (storage) CMOXUtilsNames();
  } catch (...) {
    MOXMemory::Free(storage);
    throw;
  }
}

void CMOXUtilsNames::Delete(CMOXUtilsNames* names) {
  if (names == nullptr) return;
  names->~CMOXUtilsNames();
  MOXMemory::Free(names);
}
