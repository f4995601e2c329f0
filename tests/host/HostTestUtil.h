// Shared helpers of the runtime's tests: procedures fetched the way a
// component fetches them, and owners for atoms and containers.
#ifndef MOXUTILS_TESTS_HOST_HOSTTESTUTIL_H_
#define MOXUTILS_TESTS_HOST_HOSTTESTUTIL_H_

#include <gtest/gtest.h>

#include <string>

#include "MOXRuntimeProcs.h"
#include "moxhost/Runtime.h"

namespace moxtest {

// The procedure of `interfaceName`.`methodName` under the proc type that is
// also its typedef's name; null if the runtime has none.
#define MOX_PROC(Type, interfaceName, methodName) \
  reinterpret_cast<Type>(::moxhost::Runtime::LookupProc()(interfaceName, methodName, #Type))

struct ContainerProcs {
  MOXNewFullContainerV5Proc NewFullContainer =
      MOX_PROC(MOXNewFullContainerV5Proc, "MOXContainerInterface", "NewFullContainer");
  MOXNewContainerV2Proc NewContainer =
      MOX_PROC(MOXNewContainerV2Proc, "MOXContainerInterface", "NewContainer");
  MOXCloneContainerProc CloneContainer =
      MOX_PROC(MOXCloneContainerProc, "MOXContainerInterface", "CloneContainer");
  MOXAddRefContainerV2Proc AddRef =
      MOX_PROC(MOXAddRefContainerV2Proc, "MOXContainerInterface", "AddRef");
  MOXReleaseContainerProc Release =
      MOX_PROC(MOXReleaseContainerProc, "MOXContainerInterface", "Release");
  MOXDecrementWithoutDeleteProc DecrementWithoutDelete =
      MOX_PROC(MOXDecrementWithoutDeleteProc, "MOXContainerInterface", "DecrementWithoutDelete");
  MOXDeleteUnownedContainerProc DeleteUnownedContainer =
      MOX_PROC(MOXDeleteUnownedContainerProc, "MOXContainerInterface", "DeleteUnownedContainer");
  MOXRegisterInterfaceV2Proc RegisterInterface =
      MOX_PROC(MOXRegisterInterfaceV2Proc, "MOXContainerInterface", "RegisterInterface");
  MOXRegisterInstanceV2Proc RegisterInstance =
      MOX_PROC(MOXRegisterInstanceV2Proc, "MOXContainerInterface", "RegisterInstance");
  MOXGetMethodV3Proc GetMethod = MOX_PROC(MOXGetMethodV3Proc, "MOXContainerInterface", "GetMethod");
  MOXNGetInstanceProc NGetInstance =
      MOX_PROC(MOXNGetInstanceProc, "MOXContainerInterface", "NGetInstance");
  MOXGetRefCountAddrProc DebugGetRefCountAddr =
      MOX_PROC(MOXGetRefCountAddrProc, "MOXContainerInterface", "DebugGetRefCountAddr");
  MOXGetOffsetToPrimaryInstProc GetOffsetToPrimaryInstance = MOX_PROC(
      MOXGetOffsetToPrimaryInstProc, "MOXContainerInterface", "GetOffsetToPrimaryInstance");
};

struct ErrorProcs {
  MOXNewErrorProc NewError = MOX_PROC(MOXNewErrorProc, "MOXErrorInterface", "NewError");
  MOXGetCoreErrorProc GetCoreError =
      MOX_PROC(MOXGetCoreErrorProc, "MOXErrorInterface", "GetCoreError");
  MOXErrorAddRefProcV2 AddRef = MOX_PROC(MOXErrorAddRefProcV2, "MOXErrorInterface", "AddRef");
  MOXErrorReleaseProc Release = MOX_PROC(MOXErrorReleaseProc, "MOXErrorInterface", "Release");
  MOXErrorGetMessageProc GetErrorMessage =
      MOX_PROC(MOXErrorGetMessageProc, "MOXErrorInterface", "GetErrorMessage");
  MOXErrorGetComponentProc GetComponent =
      MOX_PROC(MOXErrorGetComponentProc, "MOXErrorInterface", "GetComponent");
  MOXErrorGetIDProc GetID = MOX_PROC(MOXErrorGetIDProc, "MOXErrorInterface", "GetID");
  MOXGetErrorInfoProc GetErrorInfo =
      MOX_PROC(MOXGetErrorInfoProc, "MOXErrorInterface", "GetErrorInfo");
};

struct StringProcs {
  MOXNewStringAtomProc NewStringAtom =
      MOX_PROC(MOXNewStringAtomProc, "MOXStringInterface", "NewStringAtom");
  MOXDeleteStringAtomProc DeleteStringAtom =
      MOX_PROC(MOXDeleteStringAtomProc, "MOXStringInterface", "DeleteStringAtom");
  MOXGetCStringProc GetCString = MOX_PROC(MOXGetCStringProc, "MOXStringInterface", "GetCString");
  MOXAddRefStringAtomProc AddRef =
      MOX_PROC(MOXAddRefStringAtomProc, "MOXStringInterface", "AddRef");
};

// One atom reference, dropped at the end of the scope.
class Atom {
 public:
  explicit Atom(const char* text) : atom_(StringProcs().NewStringAtom(text)) {}
  ~Atom() { StringProcs().DeleteStringAtom(atom_); }
  Atom(const Atom&) = delete;
  Atom& operator=(const Atom&) = delete;
  MOXStringAtom get() const { return atom_; }
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
  MOXContainer get() const { return container_; }
  operator MOXContainer() const { return container_; }

 private:
  MOXContainer container_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_HOST_HOSTTESTUTIL_H_
