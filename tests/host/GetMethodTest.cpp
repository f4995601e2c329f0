// GetMethod: resolution through a container's interfaces.
#include <gtest/gtest.h>

#include "HostTestUtil.h"
#include "support/LiveCounts.h"

namespace {

using moxhost::Runtime;
using moxtest::Atom;
using moxtest::ContainerProcs;
using moxtest::TakeMessage;

int SignatureGet() {
  return 1;
}
int ExtraGet() {
  return 2;
}
int ExtraPut() {
  return 3;
}
int ParentOnly() {
  return 4;
}
void* AsVoid(int (*proc)()) {
  return reinterpret_cast<void*>(proc);
}

class GetMethodTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto registerProc = reinterpret_cast<MOXRegisterProcAddressProc>(
        Runtime::LookupProc()("MOX", "MOXRegisterProcAddress", "MOXRegisterProcAddress"));
    ASSERT_EQ(registerProc("SigInterface", "Get", "GetProc", AsVoid(SignatureGet)), 1u);
    ASSERT_EQ(registerProc("ExtraInterface", "Get", "GetProc", AsVoid(ExtraGet)), 1u);
    ASSERT_EQ(registerProc("ExtraInterface", "Put", "PutProc", AsVoid(ExtraPut)), 1u);
    ASSERT_EQ(registerProc("ParentInterface", "Only", "OnlyProc", AsVoid(ParentOnly)), 1u);
    ASSERT_EQ(
        procs_.NewFullContainer(&container_, nullptr, instanceName_, nullptr, signature_, 0, 0, 0),
        nullptr);
    ASSERT_EQ(procs_.AddRef(container_), 1u);
  }
  void TearDown() override { procs_.Release(container_); }

  void* Get(const char* method, const char* procType, bool mustExist, std::string* error) {
    Atom methodAtom(method);
    Atom procTypeAtom(procType);
    void* out = reinterpret_cast<void*>(&out);  // must be overwritten
    *error = TakeMessage(procs_.GetMethod(&out, container_, methodAtom, procTypeAtom, mustExist));
    return out;
  }

  ContainerProcs procs_;
  Atom instanceName_{"TestImpl"};
  Atom signature_{"SigInterface"};
  MOXContainer container_ = nullptr;
};

TEST_F(GetMethodTest, SignatureComesFirstThenRegisteredInterfaces) {
  std::string error;
  EXPECT_EQ(Get("Get", "GetProc", true, &error), AsVoid(SignatureGet));
  EXPECT_EQ(Get("Put", "PutProc", false, &error), nullptr);
  EXPECT_EQ(error, "");

  Atom extra("ExtraInterface");
  ASSERT_EQ(procs_.RegisterInterface(container_, extra), nullptr);
  ASSERT_EQ(procs_.RegisterInterface(container_, extra), nullptr) << "twice is harmless";
  EXPECT_EQ(Get("Get", "GetProc", true, &error), AsVoid(SignatureGet));
  EXPECT_EQ(Get("Put", "PutProc", true, &error), AsVoid(ExtraPut));
  EXPECT_EQ(Get("Put", "OtherProc", false, &error), nullptr) << "the proc type must match too";
}

TEST_F(GetMethodTest, AbsentMethodIsAnErrorOnlyWhenItMustExist) {
  std::string error;
  EXPECT_EQ(Get("Missing", "GetProc", false, &error), nullptr);
  EXPECT_EQ(error, "");
  EXPECT_EQ(Get("Missing", "GetProc", true, &error), nullptr);
  EXPECT_NE(error.find("Missing"), std::string::npos) << error;

  void* out = nullptr;
  Atom method("Get");
  Atom procType("GetProc");
  EXPECT_NE(TakeMessage(procs_.GetMethod(&out, nullptr, method, procType, false)), "");
  EXPECT_EQ(Runtime::Get().Counts().errors, 0) << "every error above was released";
}

TEST_F(GetMethodTest, UnregisteringAnInterfaceTakesItsMethodsAway) {
  auto unregister = reinterpret_cast<MOXUnregisterInterfaceProc>(
      Runtime::LookupProc()("MOX", "MOXUnregisterInterface", "MOXUnregisterInterface"));
  const uint64_t before = Runtime::Get().UnregisterCount();
  unregister("SigInterface");
  EXPECT_NE(Runtime::Get().UnregisterCount(), before);
  std::string error;
  EXPECT_EQ(Get("Get", "GetProc", false, &error), nullptr);
}

TEST_F(GetMethodTest, ParentMethodLooksInTheNamedInterface) {
  auto getParent = MOX_PROC(MOXGetParentMethodV2Proc, "MOXContainerInterface", "GetParentMethod");
  Atom parent("ParentInterface");
  Atom method("Only");
  Atom procType("OnlyProc");
  Atom absent("Absent");
  void* out = nullptr;
  EXPECT_EQ(getParent(&out, container_, parent, method, procType), nullptr);
  EXPECT_EQ(out, AsVoid(ParentOnly));
  EXPECT_EQ(getParent(&out, container_, parent, absent, procType), nullptr);
  EXPECT_EQ(out, nullptr);
}

TEST_F(GetMethodTest, EveryCallIsCounted) {
  const uint64_t before = Runtime::Get().GetMethodCalls();
  std::string error;
  Get("Get", "GetProc", false, &error);
  Get("Missing", "GetProc", false, &error);
  Get("Missing", "GetProc", true, &error);
  EXPECT_EQ(Runtime::Get().GetMethodCalls(), before + 3);
}

}  // namespace
