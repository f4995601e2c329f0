// The lookup procedure, MOXRegisterProcAddress, MOXUnregisterInterface, the
// unregister counter, and GetMethod's resolution through a container.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "host_test_util.h"

namespace {

using moxhost::Runtime;
using moxtest::Atom;
using moxtest::Lookup;
using moxtest::TakeMessage;

int ProcA() {
  return 1;
}
int ProcB() {
  return 2;
}
void* AsVoid(int (*proc)()) {
  return reinterpret_cast<void*>(proc);
}

uint32_t Register(const char* interfaceName, const char* method, const char* procType, void* proc) {
  return MOX_CORE(MOXRegisterProcAddressProc, "MOXRegisterProcAddress")(interfaceName, method,
                                                                        procType, proc);
}
void Unregister(const char* interfaceName) {
  MOX_CORE(MOXUnregisterInterfaceProc, "MOXUnregisterInterface")(interfaceName);
}

TEST(RegistryTest, LookupNeedsAllThreeNamesToMatch) {
  EXPECT_NE(Lookup("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProc"), nullptr);
  EXPECT_NE(Lookup("MOX", "MOXIsMultiThreaded", "MOXIsMultiThreaded"), nullptr);
  using Names = std::tuple<const char*, const char*, const char*>;
  for (auto [interfaceName, method, procType] :
       {Names{"MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProcV2"},
        Names{"MOXStringInterface", "NoSuchMethod", "MOXNewStringAtomProc"},
        Names{"NoSuchInterface", "NewStringAtom", "MOXNewStringAtomProc"},
        Names{nullptr, "NewStringAtom", "MOXNewStringAtomProc"},
        Names{"MOXStringInterface", "NewStringAtom", nullptr},
        Names{"MOX", "MOXIsMultiThreaded", "MOXIsMultiThreadedProc"}}) {
    EXPECT_EQ(Lookup(interfaceName, method, procType), nullptr)
        << (interfaceName ? interfaceName : "(null)") << "." << method;
  }
}

TEST(RegistryTest, RegisteredMethodsAreFoundAndReplacedByAllThreeNames) {
  ASSERT_EQ(Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcA)), 1u);
  ASSERT_EQ(Register("TestInterface", "Get", "TestGetProcV2", AsVoid(ProcB)), 1u);
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProc"), AsVoid(ProcA));
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProcV2"), AsVoid(ProcB));
  EXPECT_EQ(Lookup("TestInterface", "Put", "TestGetProc"), nullptr);
  ASSERT_EQ(Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcB)), 1u);
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProc"), AsVoid(ProcB));
  EXPECT_EQ(Runtime::Get().RegisteredInterfaces(), std::vector<std::string>{"TestInterface"});

  // Nulls and the runtime's own interfaces are refused, and reported.
  EXPECT_EQ(Register("TestInterface", "Get", "TestGetProc", nullptr), 0u);
  EXPECT_EQ(Register(nullptr, "Get", "TestGetProc", AsVoid(ProcA)), 0u);
  EXPECT_EQ(Register("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProc", AsVoid(ProcA)),
            0u);
  EXPECT_NE(Lookup("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProc"), AsVoid(ProcA));
  Unregister("MOXContainerInterface");
  EXPECT_NE(Lookup("MOXContainerInterface", "GetMethod", "MOXGetMethodV3Proc"), nullptr);
  EXPECT_EQ(Runtime::Get().Reports().size(), 4u);
  EXPECT_EQ(Runtime::Get().RegisteredInterfaces(), std::vector<std::string>{"TestInterface"});
}

TEST(RegistryTest, UnregisterRemovesOneInterfaceItsAtomsAndMovesTheCounter) {
  ASSERT_EQ(Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcA)), 1u);
  ASSERT_EQ(Register("OtherInterface", "Get", "TestGetProc", AsVoid(ProcB)), 1u);
  const moxhost::LiveCounts registered = Runtime::Get().Counts();
  const uint64_t before = Runtime::Get().UnregisterCount();
  Unregister("TestInterface");
  EXPECT_NE(Runtime::Get().UnregisterCount(), before);
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProc"), nullptr);
  EXPECT_EQ(Lookup("OtherInterface", "Get", "TestGetProc"), AsVoid(ProcB));
  EXPECT_EQ(Runtime::Get().Counts().atoms, registered.atoms - 1)
      << "the interface's name goes; the method names are still used by the other";
  Unregister("OtherInterface");
  EXPECT_TRUE(Runtime::Get().RegisteredInterfaces().empty());
  EXPECT_EQ(Runtime::Get().Counts().atoms, registered.atoms - 4);
}

// A container whose signature and extra interface are registered by the test.
class GetMethodTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Register("SigInterface", "Get", "GetProc", AsVoid(ProcA)), 1u);
    ASSERT_EQ(Register("ExtraInterface", "Get", "GetProc", AsVoid(ProcB)), 1u);
    ASSERT_EQ(Register("ExtraInterface", "Put", "PutProc", AsVoid(ProcB)), 1u);
    ASSERT_EQ(procs_.NewFullContainer(&container_, nullptr, name_, nullptr, signature_, 0, 0, 0),
              nullptr);
    ASSERT_EQ(procs_.AddRef(container_), 1u);
  }
  void TearDown() override { procs_.Release(container_); }

  void* Get(const char* method, const char* procType, bool mustExist, std::string* error) {
    Atom methodAtom(method);
    Atom procTypeAtom(procType);
    void* out = &out;  // must be overwritten
    *error = TakeMessage(procs_.GetMethod(&out, container_, methodAtom, procTypeAtom, mustExist));
    return out;
  }

  moxtest::ContainerProcs procs_;
  Atom name_{"TestImpl"};
  Atom signature_{"SigInterface"};
  MOXContainer container_ = nullptr;
};

TEST_F(GetMethodTest, SignatureFirstThenRegisteredInterfacesAndAbsenceIsAnErrorOnDemand) {
  const uint64_t calls = Runtime::Get().GetMethodCalls();
  std::string error;
  EXPECT_EQ(Get("Put", "PutProc", false, &error), nullptr);
  EXPECT_EQ(error, "");
  EXPECT_EQ(Get("Put", "PutProc", true, &error), nullptr);
  EXPECT_NE(error.find("Put"), std::string::npos) << error;

  Atom extra("ExtraInterface");
  ASSERT_EQ(procs_.RegisterInterface(container_, extra), nullptr);
  ASSERT_EQ(procs_.RegisterInterface(container_, extra), nullptr) << "twice is harmless";
  EXPECT_EQ(Get("Get", "GetProc", true, &error), AsVoid(ProcA)) << "the signature wins";
  EXPECT_EQ(Get("Put", "PutProc", true, &error), AsVoid(ProcB));
  EXPECT_EQ(Get("Put", "OtherProc", false, &error), nullptr) << "the proc type must match too";
  EXPECT_EQ(Runtime::Get().GetMethodCalls(), calls + 5);

  void* out = nullptr;
  EXPECT_NE(TakeMessage(procs_.GetMethod(&out, nullptr, extra, extra, false)), "");
  EXPECT_EQ(Runtime::Get().Counts().errors, 0) << "every error above was released";

  Unregister("SigInterface");
  EXPECT_EQ(Get("Get", "GetProc", false, &error), AsVoid(ProcB)) << "the signature's went";
  Unregister("ExtraInterface");
  EXPECT_EQ(Get("Put", "PutProc", false, &error), nullptr);
}

TEST_F(GetMethodTest, ParentMethodLooksInTheNamedInterface) {
  auto getParent = MOX_PROC(MOXGetParentMethodV2Proc, "MOXContainerInterface", "GetParentMethod");
  Atom parent("ExtraInterface"), method("Put"), procType("PutProc"), absent("Absent");
  void* out = nullptr;
  EXPECT_EQ(getParent(&out, container_, parent, method, procType), nullptr);
  EXPECT_EQ(out, AsVoid(ProcB)) << "even though the container doesn't list the interface";
  EXPECT_EQ(getParent(&out, container_, parent, absent, procType), nullptr);
  EXPECT_EQ(out, nullptr);
}

}  // namespace
