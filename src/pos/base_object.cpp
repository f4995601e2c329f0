#include "pos/base_object.h"

namespace NPOSObjectImpl {

const char kNullArgument[] = "null argument";

BaseObject::LiveCounter BaseObject::fNumPOSObjects;

void BaseObject::AddToCount(int32_t delta) {
  // The lock is held logically: the count changes between Lock and Unlock,
  // not under the mutex inside.
  fNumPOSObjects.fLock.Lock();
  fNumPOSObjects.fCount += delta;
  fNumPOSObjects.fLock.Unlock();
}

int32_t BaseObject::LiveObjectCount() {
  TOVWaitMutexLocker lock(fNumPOSObjects.fLock);
  return fNumPOSObjects.fCount;
}

BaseObject::BaseObject() {
  AddToCount(1);
}

BaseObject::BaseObject(const BaseObject&) : CMOXClientBase() {
  AddToCount(1);
}

BaseObject::~BaseObject() {
  AddToCount(-1);
}

MOXContainer NewObjectContainer(BaseObject* object) {
  return MOXNewFullContainer(object, gMOXUtilsNames->fObjectImpl, &DeletePOSObject,
                             gMOXUtilsNames->fObjectInterface);
}

void DeletePOSObject(void* instance) {
  if (instance != nullptr) delete static_cast<BaseObject*>(instance);
}

}  // namespace NPOSObjectImpl
