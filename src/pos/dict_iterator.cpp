#include "pos/dict_iterator.h"

#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/utils_names.h"

namespace NPOSObjectImpl {

namespace {
void DeleteDictIterator(void* instance) {
  if (instance != nullptr) delete static_cast<DictIterator*>(instance);
}
}  // namespace

DictIterator* ResolveDictIterator(MOXContainer container) {
  const CMOXStringHolder& name = gMOXUtilsNames->fDictIteratorImpl;
  void* instance;
  const MOXPrimaryInstanceRecord* record =
      container != nullptr ? MOXPrimaryRecord(container) : nullptr;
  if (record != nullptr && record->instanceName == name.CString()) {
    instance = record->instance;
  } else {
    instance = MOXNGetInstance(container, name);
  }
  // Not an iterator at all: refuse rather than walk through a null pointer.
  if (instance == nullptr) MOXThrowInvalidContainer();
  return static_cast<DictIterator*>(instance);
}

MOXContainer NewIteratorContainer(DictIterator* iterator) {
  return MOXNewFullContainer(iterator, gMOXUtilsNames->fDictIteratorImpl, &DeleteDictIterator,
                             gMOXUtilsNames->fDictIteratorInterface);
}

}  // namespace NPOSObjectImpl
