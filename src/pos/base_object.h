// The root of the POS object classes, the live-object count, and the tie
// between an implementation object and its runtime container.
//
// Other components never see these objects: they hold containers and call
// the registered interfaces. An entry point finds its object from the
// container with one pointer comparison on the primary-instance record (the
// names are interned atoms), and asks the runtime only when that fails.
#ifndef MOXUTILS_POS_BASE_OBJECT_H_
#define MOXUTILS_POS_BASE_OBJECT_H_

#include <atomic>
#include <cstdint>

#include "MOXTypes.h"
#include "binding/client_base.h"
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/utils_names.h"
#include "pos/pos_object.h"

namespace NPOSObjectImpl {

using MOX_T_MT::CPOSObject;
using MOX_T_MT::POSException;

// Raised when an entry is handed a null pointer where it needs text or data.
extern const char kNullArgument[];

// The classes of POS objects, each final, so that a downcast is a test of
// the class alone.
enum class ObjectClass : uint8_t {
  kNumber,
  kString,
  kUnicodeString,
  kBinData,
  kRawPointer,
  kArray,
  kDict
};

class BaseObject : public MOX_T_MT::CMOXClientBase {
 public:
  BaseObject();
  BaseObject(const BaseObject&);
  BaseObject& operator=(const BaseObject&) { return *this; }
  virtual ~BaseObject();

  // Immutable classes return the object itself; arrays and dictionaries a new
  // object that has no container yet.
  virtual BaseObject* Clone() = 0;
  // False when `other` is of another class.
  virtual bool IsEqual(const CPOSObject& other) = 0;
  // What the class of the object is; each class has it as kClass too.
  virtual ObjectClass Class() const = 0;

  // The number of live POS objects.
  static int32_t LiveObjectCount();

 private:
  // The count of live objects. An atomic word rather than a count behind a
  // lock: every object's life changes it twice, and the two lock round trips
  // cost more than the rest of a small object's life. It does not depend on
  // the runtime, so it exists from load to unload.
  static void AddToCount(int32_t delta) {
    fNumPOSObjects.fetch_add(delta, std::memory_order_relaxed);
  }
  static std::atomic<int32_t> fNumPOSObjects;
};

// The object of `container`, or null when the runtime knows none by the name
// "POSObjectImpl". A null container goes to the runtime too.
inline BaseObject* ResolveBaseObject(MOXContainer container) {
  const CMOXStringHolder& name = gMOXUtilsNames->fObjectImpl;
  if (container != nullptr) {
    const MOXPrimaryInstanceRecord* record = MOXPrimaryRecord(container);
    if (record->instanceName == name.CString()) return static_cast<BaseObject*>(record->instance);
  }
  return static_cast<BaseObject*>(MOXNGetInstance(container, name));
}

// `object` as a T, or null when it is null or of another class.
template <class T>
T* DowncastTo(BaseObject* object) {
  return object != nullptr && object->Class() == T::kClass ? static_cast<T*>(object) : nullptr;
}

// The object of class T behind `container`, or null: a null container, an
// object of another class, or no POS object at all.
template <class T>
T* TryFromContainer(MOXContainer container) {
  if (container == nullptr) return nullptr;
  return DowncastTo<T>(ResolveBaseObject(container));
}

// The object of class T behind `container`; otherwise raises T's
// "instance was not an POS..." text.
template <class T>
T* FromContainer(MOXContainer container) {
  T* object = DowncastTo<T>(ResolveBaseObject(container));
  if (object == nullptr) throw POSException(T::kNotThisClass);
  return object;
}

// Gives `object` a container named "POSObjectImpl" with the signature
// "POSObjectInterface", and returns it unowned. When the runtime refuses, the
// object is left to the runtime, which holds its pointer and delete procedure.
MOXContainer NewObjectContainer(BaseObject* object);

// The delete procedure of every POS object container.
void DeletePOSObject(void* instance);

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_BASE_OBJECT_H_
