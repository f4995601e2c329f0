#include "pos/base_object.h"

namespace NPOSObjectImpl {

const char kNullArgument[] = "null argument";

std::atomic<int32_t> BaseObject::fNumPOSObjects{0};

int32_t BaseObject::LiveObjectCount() {
  return fNumPOSObjects.load(std::memory_order_relaxed);
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
