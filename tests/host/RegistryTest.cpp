// The lookup procedure, MOXRegisterProcAddress, MOXUnregisterInterface and
// the unregister counter.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "HostTestUtil.h"

namespace {

using moxhost::Runtime;

void* Lookup(const char* interfaceName, const char* methodName, const char* procTypeName) {
  return Runtime::LookupProc()(interfaceName, methodName, procTypeName);
}

int ProcA() {
  return 1;
}
int ProcB() {
  return 2;
}
void* AsVoid(int (*proc)()) {
  return reinterpret_cast<void*>(proc);
}

// A component loads each table of the runtime in one go and fails on the
// first missing row, so every name must match exactly. One row per line:
// interface, method, proc type.
constexpr char kRuntimeMethods[] = R"(
MOX MOXRegisterProcAddress MOXRegisterProcAddress
MOX MOXReportError MOXReportError
MOX MOXUnregisterInterface MOXUnregisterInterface
MOX MOXGetUnregisterCountAddr MOXGetUnregisterCountAddr
MOX MOXIsMultiThreaded MOXIsMultiThreaded
MOXStringInterface NewStringAtom MOXNewStringAtomProc
MOXStringInterface DeleteStringAtom MOXDeleteStringAtomProc
MOXStringInterface GetCString MOXGetCStringProc
MOXStringInterface AddRef MOXAddRefStringAtomProc
MOXMemoryInterface Alloc MOXMemAllocProc
MOXMemoryInterface Realloc MOXMemReallocProc
MOXMemoryInterface Free MOXMemFreeProc
MOXMemoryInterface GetBlockSize MOXMemGetBlockSizeProc
MOXErrorInterface NewError MOXNewErrorProc
MOXErrorInterface GetCoreError MOXGetCoreErrorProc
MOXErrorInterface AddRef MOXErrorAddRefProcV2
MOXErrorInterface Release MOXErrorReleaseProc
MOXErrorInterface GetErrorMessage MOXErrorGetMessageProc
MOXErrorInterface GetComponent MOXErrorGetComponentProc
MOXErrorInterface GetID MOXErrorGetIDProc
MOXErrorInterface GetErrorInfo MOXGetErrorInfoProc
MOXContainerInterface NewFullContainer MOXNewFullContainerV5Proc
MOXContainerInterface NewContainer MOXNewContainerV2Proc
MOXContainerInterface CloneContainer MOXCloneContainerProc
MOXContainerInterface AddRef MOXAddRefContainerV2Proc
MOXContainerInterface Release MOXReleaseContainerProc
MOXContainerInterface DecrementWithoutDelete MOXDecrementWithoutDeleteProc
MOXContainerInterface DeleteUnownedContainer MOXDeleteUnownedContainerProc
MOXContainerInterface RegisterInterface MOXRegisterInterfaceV2Proc
MOXContainerInterface RegisterInstance MOXRegisterInstanceV2Proc
MOXContainerInterface GetMethod MOXGetMethodV3Proc
MOXContainerInterface GetParentMethod MOXGetParentMethodV2Proc
MOXContainerInterface GetInstance MOXGetInstanceProc
MOXContainerInterface NGetInstance MOXNGetInstanceProc
MOXContainerInterface GetSignature MOXGetSignatureProc
MOXContainerInterface DebugGetRefCountAddr MOXGetRefCountAddrProc
MOXContainerInterface GetOffsetToPrimaryInstance MOXGetOffsetToPrimaryInstProc
MOXSharedBuffInterface NewBuffer MOXSharedBuffNewBufferV3Proc
MOXSharedBuffInterface DeleteUnowned MOXSharedBuffDelUnownedProc
MOXSharedBuffInterface AddRef MOXSharedBuffAddRefProc
MOXSharedBuffInterface Release MOXSharedBuffReleaseProc
MOXSharedBuffInterface GetBuffer MOXSharedBuffGetBufferProc
MOXSharedBuffInterface GetSize MOXSharedBuffGetSizeProc
MOXCacheInterface NewCacheID MOXCacheNewCacheIDProc
MOXCacheInterface AddRef MOXCacheAddRefProc
MOXCacheInterface Release MOXCacheReleaseProc
MOXCacheInterface Attach MOXCacheAttachProcV2
MOXCacheInterface Add MOXCacheAddProc
MOXCacheInterface UpdateCost MOXCacheUpdateCostProc
MOXCacheInterface ReturnCost MOXCacheReturnCostProc
MOXCacheInterface MarkNoPurge MOXCacheMarkNoPurgeProcV2
MOXCacheInterface MarkPurge MOXCacheMarkPurgeProc
MOXCacheInterface GetCacheTime MOXCacheGetCacheTimeProc
MOXCacheInterface CurrentCacheSize MOXCurrentCacheSizeProc
MOXCacheInterface NewCachePurge MOXCacheNewCachePurgeProc
MOXCacheInterface PurgeNextBlock MOXCachePurgeNextBlockProc
MOXCacheInterface DeleteCachePurge MOXCacheDeleteCachePurgeProc
MOXCacheInterface PurgeAll MOXCachePurgeAllProc
MOXCacheInterface PurgeAllStaticCaches MOXCachePurgeAllStaticCachesProc
MOXCacheInterface AddClientPurge MOXCacheAddRemoveClientPurgeProcV2
MOXCacheInterface RemoveClientPurge MOXCacheAddRemoveClientPurgeProcV2
MOXCacheInterface NewCacheSet MOXCacheNewCacheSetProc
MOXCacheInterface AddRefCacheSet MOXCacheAddRefCacheSetProc
MOXCacheInterface DeleteCacheSet MOXCacheDeleteCacheSetProc
MOXCacheInterface SearchForID MOXCacheSearchForIDProc
MOXCacheInterface RemoveID MOXCacheRemoveIDProc
MOXCacheInterface RemoveIDs MOXCacheRemoveIDsProc
MOXProgressInterface NewNullProgress MOXProgressNewNullProgressProc
MOXProgressInterface NewClientProgress MOXProgressNewClientProgressProc
MOXProgressInterface AddRef MOXProgressAddRefProc
MOXProgressInterface Release MOXProgressReleaseProc
MOXProgressInterface Update MOXProgressUpdateProc
MOXFilterInterface NewNullDataSink MOXFilterNewNullDataSinkV2Proc
MOXFilterInterface NewClientDataSink MOXFilterNewClientDataSinkV2Proc
MOXFilterInterface NewIdentityFilter MOXFilterNewIdentityFilterV2Proc
MOXFilterInterface NewClientFilter MOXFilterNewClientFilterV2Proc
MOXFilterInterface NewFilterJPEG MOXFilterNewFilterJPEGV2Proc
MOXFilterInterface AddRef MOXFilterAddRefV2Proc
MOXFilterInterface Release MOXFilterReleaseProc
MOXFilterInterface Write MOXFilterWriteV2Proc
MOXFilterInterface IsFilter MOXFilterIsFilterProc
MOXFilterInterface Close MOXFilterCloseProc
MOXFilterInterface GetPostScriptFilter MOXFilterGetPostScriptFilterProc
MOXFilterInterface SetDataSink MOXFilterSetDataSinkV2Proc
MOXFilterInterface PeekTarget MOXFilterPeekTargetProc
MOXFilterInterface SetImageParameters MOXFilterJPEGSetImageParametersProc
MOXFilterInterface SetCompressionParameters MOXFilterJPEGSetCompressionParametersProc
MOXFilterInterface GetChainState MOXFilterGetChainStateV2Proc
MOXFilterInterface ResetChainState MOXFilterResetChainStateProc
MOXStreamFactoryInterface NewPositionableMemoryStream MOXNewPositionableMemoryStreamProc
MOXStreamFactoryInterface NewPositionableBufferStream MOXNewPositionableBufferStreamProc
MOXStreamFactoryInterface NewPositionableFileStream MOXNewPositionableFileStreamProc
MOXStreamFactoryInterface NewClientSimpleStream MOXNewClientSimpleStreamProc
MOXStreamFactoryInterface NewClientRewindableStream MOXNewClientRewindableStreamProc
MOXStreamFactoryInterface NewClientPositionableStream MOXNewClientPositionableStreamProc
)";

TEST(RegistryTest, EveryRuntimeMethodIsFoundUnderItsProcType) {
  std::istringstream rows(kRuntimeMethods);
  std::string interfaceName, method, procType;
  std::set<void*> procs;
  int count = 0;
  while (rows >> interfaceName >> method >> procType) {
    void* proc = Lookup(interfaceName.c_str(), method.c_str(), procType.c_str());
    EXPECT_NE(proc, nullptr) << interfaceName << "." << method;
    // A row bound to another method's function shows up as a duplicate.
    EXPECT_TRUE(procs.insert(proc).second) << interfaceName << "." << method;
    ++count;
  }
  EXPECT_EQ(count, 95);
}

TEST(RegistryTest, WrongProcTypeOrNameGivesNull) {
  EXPECT_NE(Lookup("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProc"), nullptr);
  EXPECT_EQ(Lookup("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProcV2"), nullptr);
  EXPECT_EQ(Lookup("MOXStringInterface", "NoSuchMethod", "MOXNewStringAtomProc"), nullptr);
  EXPECT_EQ(Lookup("NoSuchInterface", "NewStringAtom", "MOXNewStringAtomProc"), nullptr);
  EXPECT_EQ(Lookup(nullptr, "NewStringAtom", "MOXNewStringAtomProc"), nullptr);
  EXPECT_EQ(Lookup("MOXStringInterface", "NewStringAtom", nullptr), nullptr);
}

TEST(RegistryTest, CoreProceduresAnswer) {
  auto isMultiThreaded = MOX_PROC(MOXIsMultiThreadedProc, "MOX", "MOXIsMultiThreaded");
  ASSERT_EQ(isMultiThreaded, nullptr) << "proc-type name is the method name for core procedures";
  isMultiThreaded = reinterpret_cast<MOXIsMultiThreadedProc>(
      Lookup("MOX", "MOXIsMultiThreaded", "MOXIsMultiThreaded"));
  ASSERT_NE(isMultiThreaded, nullptr);
  EXPECT_EQ(isMultiThreaded(), 1);

  auto getCounter = reinterpret_cast<MOXGetUnregisterCountAddrProc>(
      Lookup("MOX", "MOXGetUnregisterCountAddr", "MOXGetUnregisterCountAddr"));
  ASSERT_NE(getCounter, nullptr);
  uint64_t* counter = getCounter();
  ASSERT_NE(counter, nullptr);
  EXPECT_NE(*counter, 0u) << "components take a zero stamp for 'never loaded'";
  EXPECT_EQ(*counter, Runtime::Get().UnregisterCount());
  EXPECT_EQ(getCounter(), counter) << "the address stays valid";
}

struct CoreProcs {
  MOXRegisterProcAddressProc Register = reinterpret_cast<MOXRegisterProcAddressProc>(
      Lookup("MOX", "MOXRegisterProcAddress", "MOXRegisterProcAddress"));
  MOXUnregisterInterfaceProc Unregister = reinterpret_cast<MOXUnregisterInterfaceProc>(
      Lookup("MOX", "MOXUnregisterInterface", "MOXUnregisterInterface"));
};

TEST(RegistryTest, RegisteredMethodsAreFoundByAllThreeNames) {
  CoreProcs core;
  ASSERT_EQ(core.Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcA)), 1u);
  ASSERT_EQ(core.Register("TestInterface", "Get", "TestGetProcV2", AsVoid(ProcB)), 1u);
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProc"), AsVoid(ProcA));
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProcV2"), AsVoid(ProcB));
  EXPECT_EQ(Lookup("TestInterface", "Get", "OtherProc"), nullptr);
  EXPECT_EQ(Lookup("TestInterface", "Put", "TestGetProc"), nullptr);
  EXPECT_EQ(Runtime::Get().RegisteredInterfaces(), std::vector<std::string>{"TestInterface"});

  // Registering the same three names again replaces the procedure.
  ASSERT_EQ(core.Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcB)), 1u);
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProc"), AsVoid(ProcB));
}

TEST(RegistryTest, RegistrationIsRefusedForNullsAndRuntimeInterfaces) {
  CoreProcs core;
  EXPECT_EQ(core.Register("TestInterface", "Get", "TestGetProc", nullptr), 0u);
  EXPECT_EQ(core.Register(nullptr, "Get", "TestGetProc", AsVoid(ProcA)), 0u);
  EXPECT_EQ(
      core.Register("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProc", AsVoid(ProcA)),
      0u);
  EXPECT_NE(Lookup("MOXStringInterface", "NewStringAtom", "MOXNewStringAtomProc"), AsVoid(ProcA));
  EXPECT_TRUE(Runtime::Get().RegisteredInterfaces().empty());
  EXPECT_EQ(Runtime::Get().Reports().size(), 3u) << "each misuse is reported";
}

TEST(RegistryTest, UnregisterRemovesTheInterfaceAndMovesTheCounter) {
  CoreProcs core;
  ASSERT_EQ(core.Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcA)), 1u);
  ASSERT_EQ(core.Register("OtherInterface", "Get", "TestGetProc", AsVoid(ProcB)), 1u);
  const moxhost::LiveCounts registered = Runtime::Get().Counts();
  const uint64_t before = Runtime::Get().UnregisterCount();

  core.Unregister("TestInterface");
  EXPECT_NE(Runtime::Get().UnregisterCount(), before);
  EXPECT_EQ(Lookup("TestInterface", "Get", "TestGetProc"), nullptr);
  EXPECT_EQ(Lookup("OtherInterface", "Get", "TestGetProc"), AsVoid(ProcB));
  EXPECT_EQ(Runtime::Get().RegisteredInterfaces(), std::vector<std::string>{"OtherInterface"});
  EXPECT_EQ(Runtime::Get().Counts().atoms, registered.atoms - 1)
      << "the registry gives back the atom of the interface name alone; method names are shared";

  const uint64_t afterFirst = Runtime::Get().UnregisterCount();
  core.Unregister("OtherInterface");
  EXPECT_NE(Runtime::Get().UnregisterCount(), afterFirst);
  EXPECT_TRUE(Runtime::Get().RegisteredInterfaces().empty());
}

TEST(RegistryTest, RuntimeInterfacesCannotBeUnregistered) {
  CoreProcs core;
  core.Unregister("MOXContainerInterface");
  EXPECT_NE(Lookup("MOXContainerInterface", "GetMethod", "MOXGetMethodV3Proc"), nullptr);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u);
}

TEST(RegistryTest, FaultsHideAndRefuseByName) {
  CoreProcs core;
  Runtime& runtime = Runtime::Get();
  runtime.RefuseRegistration("TestInterface", "Put");
  EXPECT_EQ(core.Register("TestInterface", "Get", "TestGetProc", AsVoid(ProcA)), 1u);
  EXPECT_EQ(core.Register("TestInterface", "Put", "TestPutProc", AsVoid(ProcB)), 0u);

  runtime.HideMethod("MOXMemoryInterface", "Free");
  runtime.HideInterface("MOXCacheInterface");
  EXPECT_EQ(Lookup("MOXMemoryInterface", "Free", "MOXMemFreeProc"), nullptr);
  EXPECT_NE(Lookup("MOXMemoryInterface", "Alloc", "MOXMemAllocProc"), nullptr);
  EXPECT_EQ(Lookup("MOXCacheInterface", "NewCacheID", "MOXCacheNewCacheIDProc"), nullptr);

  const uint64_t before = runtime.UnregisterCount();
  runtime.RaiseUnregisterCounter();
  EXPECT_NE(runtime.UnregisterCount(), before);

  runtime.ClearFaults();
  EXPECT_EQ(core.Register("TestInterface", "Put", "TestPutProc", AsVoid(ProcB)), 1u);
  EXPECT_NE(Lookup("MOXMemoryInterface", "Free", "MOXMemFreeProc"), nullptr);
  EXPECT_NE(Lookup("MOXCacheInterface", "NewCacheID", "MOXCacheNewCacheIDProc"), nullptr);
}

TEST(RegistryTest, ReportsAreLoggedEchoedAndCleared) {
  auto report =
      reinterpret_cast<MOXReportErrorProc>(Lookup("MOX", "MOXReportError", "MOXReportError"));
  ASSERT_NE(report, nullptr);
  FILE* echo = std::tmpfile();
  ASSERT_NE(echo, nullptr);
  Runtime::Get().EchoReportsTo(echo);
  report("first");
  report("second");
  Runtime::Get().EchoReportsTo(nullptr);
  report("third");
  EXPECT_EQ(Runtime::Get().Reports(), (std::vector<std::string>{"first", "second", "third"}));

  std::rewind(echo);
  char text[128] = {};
  EXPECT_EQ(std::fread(text, 1, sizeof text - 1, echo), 39u);
  EXPECT_STREQ(text, "libMOXUtils: first\nlibMOXUtils: second\n");
  std::fclose(echo);

  Runtime::Get().ClearReports();
  EXPECT_TRUE(Runtime::Get().Reports().empty());
}

}  // namespace
