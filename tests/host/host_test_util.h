// Shared helpers of the runtime's tests: procedures fetched the way a
// component fetches them, and owners for atoms and containers.
#ifndef MOXUTILS_TESTS_HOST_HOST_TEST_UTIL_H_
#define MOXUTILS_TESTS_HOST_HOST_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <string>

#include "MOXRuntimeProcs.h"
#include "moxhost/runtime.h"
#include "support/live_counts.h"

namespace moxtest {

inline void* Lookup(const char* interfaceName, const char* methodName, const char* procTypeName) {
  return ::moxhost::Runtime::LookupProc()(interfaceName, methodName, procTypeName);
}

// The procedure of `interfaceName`.`methodName` under the proc type that is
// also its typedef's name; null if the runtime has none.
#define MOX_PROC(Type, interfaceName, methodName) \
  reinterpret_cast<Type>(::moxtest::Lookup(interfaceName, methodName, #Type))
// A core procedure: its proc-type name is its method name.
#define MOX_CORE(Type, name) reinterpret_cast<Type>(::moxtest::Lookup("MOX", name, name))

struct ContainerProcs {
#define CONTAINER_PROC(Type, name) Type name = MOX_PROC(Type, "MOXContainerInterface", #name)
  CONTAINER_PROC(MOXNewFullContainerV5Proc, NewFullContainer);
  CONTAINER_PROC(MOXNewContainerV2Proc, NewContainer);
  CONTAINER_PROC(MOXCloneContainerProc, CloneContainer);
  CONTAINER_PROC(MOXAddRefContainerV2Proc, AddRef);
  CONTAINER_PROC(MOXReleaseContainerProc, Release);
  CONTAINER_PROC(MOXDecrementWithoutDeleteProc, DecrementWithoutDelete);
  CONTAINER_PROC(MOXDeleteUnownedContainerProc, DeleteUnownedContainer);
  CONTAINER_PROC(MOXRegisterInterfaceV2Proc, RegisterInterface);
  CONTAINER_PROC(MOXRegisterInstanceV2Proc, RegisterInstance);
  CONTAINER_PROC(MOXGetMethodV3Proc, GetMethod);
  CONTAINER_PROC(MOXNGetInstanceProc, NGetInstance);
  CONTAINER_PROC(MOXGetRefCountAddrProc, DebugGetRefCountAddr);
  CONTAINER_PROC(MOXGetOffsetToPrimaryInstProc, GetOffsetToPrimaryInstance);
#undef CONTAINER_PROC
};

struct ErrorProcs {
#define ERROR_PROC(Type, name) Type name = MOX_PROC(Type, "MOXErrorInterface", #name)
  ERROR_PROC(MOXNewErrorProc, NewError);
  ERROR_PROC(MOXGetCoreErrorProc, GetCoreError);
  ERROR_PROC(MOXErrorAddRefProcV2, AddRef);
  ERROR_PROC(MOXErrorReleaseProc, Release);
  ERROR_PROC(MOXErrorGetMessageProc, GetErrorMessage);
  ERROR_PROC(MOXErrorGetComponentProc, GetComponent);
  ERROR_PROC(MOXErrorGetIDProc, GetID);
#undef ERROR_PROC
};

struct StringProcs {
#define STRING_PROC(Type, name) Type name = MOX_PROC(Type, "MOXStringInterface", #name)
  STRING_PROC(MOXNewStringAtomProc, NewStringAtom);
  STRING_PROC(MOXDeleteStringAtomProc, DeleteStringAtom);
  STRING_PROC(MOXGetCStringProc, GetCString);
  STRING_PROC(MOXAddRefStringAtomProc, AddRef);
#undef STRING_PROC
};

// One atom reference, dropped at the end of the scope.
class Atom {
 public:
  explicit Atom(const char* text) : atom_(StringProcs().NewStringAtom(text)) {}
  ~Atom() { StringProcs().DeleteStringAtom(atom_); }
  Atom(const Atom&) = delete;
  Atom& operator=(const Atom&) = delete;
  operator MOXStringAtom() const { return atom_; }

 private:
  MOXStringAtom atom_;
};

// The message of `error` ("" for none), and the error released.
inline std::string TakeMessage(MOXErrorRef error) {
  ErrorProcs errors;
  std::string message =
      error != nullptr ? StringProcs().GetCString(errors.GetErrorMessage(error)) : "";
  errors.Release(error);
  return message;
}

// The container's method of the given proc type, or null.
template <typename Proc>
Proc Method(MOXContainer container, const char* methodName, const char* procTypeName) {
  Atom method(methodName);
  Atom procType(procTypeName);
  void* out = nullptr;
  MOXErrorRef error = ContainerProcs().GetMethod(&out, container, method, procType, false);
  EXPECT_EQ(error, nullptr) << TakeMessage(error);
  return reinterpret_cast<Proc>(out);
}
#define MOX_METHOD(Type, container, methodName) \
  ::moxtest::Method<Type>(container, methodName, #Type)

// Holds one counted reference to a container: AddRef now, Release at the end.
class Owned {
 public:
  explicit Owned(MOXContainer container) : container_(container) {
    EXPECT_NE(ContainerProcs().AddRef(container_), 0u);
  }
  ~Owned() { ContainerProcs().Release(container_); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  operator MOXContainer() const { return container_; }

 private:
  MOXContainer container_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_HOST_HOST_TEST_UTIL_H_
