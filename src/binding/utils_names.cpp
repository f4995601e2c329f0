#include "binding/utils_names.h"

#include <new>

#include "POSProcs.h"
#include "POSStreamerProcs.h"
#include "binding/host_tables.h"

CMOXUtilsNames* gMOXUtilsNames = nullptr;

CMOXUtilsNames::CMOXUtilsNames()
    : fObjectImpl("POSObjectImpl"),
      fObjectInterface(POS_OBJECT_INTERFACE_NAME),
      fDictIteratorImpl("POSDictIteratorImpl"),
      fDictIteratorInterface(POS_DICT_ITERATOR_INTERFACE_NAME),
      fStreamerImpl("POSStreamerImpl"),
      fStreamerInterface(POS_STREAMER_INTERFACE_NAME),
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
