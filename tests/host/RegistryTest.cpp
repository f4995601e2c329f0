// The lookup procedure, MOXRegisterProcAddress, MOXUnregisterInterface and
// the unregister counter.
#include <gtest/gtest.h>

#include <algorithm>
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
// first missing row, so every name must match exactly.
TEST(RegistryTest, EveryRuntimeMethodIsFoundUnderItsProcType) {
  struct Row {
    const char* interfaceName;
    std::vector<std::pair<const char*, const char*>> methods;
  };
  const std::vector<Row> tables = {
      {"MOX",
       {{"MOXRegisterProcAddress", "MOXRegisterProcAddress"},
        {"MOXReportError", "MOXReportError"},
        {"MOXUnregisterInterface", "MOXUnregisterInterface"},
        {"MOXGetUnregisterCountAddr", "MOXGetUnregisterCountAddr"},
        {"MOXIsMultiThreaded", "MOXIsMultiThreaded"}}},
      {"MOXStringInterface",
       {{"NewStringAtom", "MOXNewStringAtomProc"},
        {"DeleteStringAtom", "MOXDeleteStringAtomProc"},
        {"GetCString", "MOXGetCStringProc"},
        {"AddRef", "MOXAddRefStringAtomProc"}}},
      {"MOXMemoryInterface",
       {{"Alloc", "MOXMemAllocProc"},
        {"Realloc", "MOXMemReallocProc"},
        {"Free", "MOXMemFreeProc"},
        {"GetBlockSize", "MOXMemGetBlockSizeProc"}}},
      {"MOXErrorInterface",
       {{"NewError", "MOXNewErrorProc"},
        {"GetCoreError", "MOXGetCoreErrorProc"},
        {"AddRef", "MOXErrorAddRefProcV2"},
        {"Release", "MOXErrorReleaseProc"},
        {"GetErrorMessage", "MOXErrorGetMessageProc"},
        {"GetComponent", "MOXErrorGetComponentProc"},
        {"GetID", "MOXErrorGetIDProc"},
        {"GetErrorInfo", "MOXGetErrorInfoProc"}}},
      {"MOXContainerInterface",
       {{"NewFullContainer", "MOXNewFullContainerV5Proc"},
        {"NewContainer", "MOXNewContainerV2Proc"},
        {"CloneContainer", "MOXCloneContainerProc"},
        {"AddRef", "MOXAddRefContainerV2Proc"},
        {"Release", "MOXReleaseContainerProc"},
        {"DecrementWithoutDelete", "MOXDecrementWithoutDeleteProc"},
        {"DeleteUnownedContainer", "MOXDeleteUnownedContainerProc"},
        {"RegisterInterface", "MOXRegisterInterfaceV2Proc"},
        {"RegisterInstance", "MOXRegisterInstanceV2Proc"},
        {"GetMethod", "MOXGetMethodV3Proc"},
        {"GetParentMethod", "MOXGetParentMethodV2Proc"},
        {"GetInstance", "MOXGetInstanceProc"},
        {"NGetInstance", "MOXNGetInstanceProc"},
        {"GetSignature", "MOXGetSignatureProc"},
        {"DebugGetRefCountAddr", "MOXGetRefCountAddrProc"},
        {"GetOffsetToPrimaryInstance", "MOXGetOffsetToPrimaryInstProc"}}},
      {"MOXSharedBuffInterface",
       {{"NewBuffer", "MOXSharedBuffNewBufferV3Proc"},
        {"DeleteUnowned", "MOXSharedBuffDelUnownedProc"},
        {"AddRef", "MOXSharedBuffAddRefProc"},
        {"Release", "MOXSharedBuffReleaseProc"},
        {"GetBuffer", "MOXSharedBuffGetBufferProc"},
        {"GetSize", "MOXSharedBuffGetSizeProc"}}},
      {"MOXCacheInterface",
       {{"NewCacheID", "MOXCacheNewCacheIDProc"},
        {"AddRef", "MOXCacheAddRefProc"},
        {"Release", "MOXCacheReleaseProc"},
        {"Attach", "MOXCacheAttachProcV2"},
        {"Add", "MOXCacheAddProc"},
        {"UpdateCost", "MOXCacheUpdateCostProc"},
        {"ReturnCost", "MOXCacheReturnCostProc"},
        {"MarkNoPurge", "MOXCacheMarkNoPurgeProcV2"},
        {"MarkPurge", "MOXCacheMarkPurgeProc"},
        {"GetCacheTime", "MOXCacheGetCacheTimeProc"},
        {"CurrentCacheSize", "MOXCurrentCacheSizeProc"},
        {"NewCachePurge", "MOXCacheNewCachePurgeProc"},
        {"PurgeNextBlock", "MOXCachePurgeNextBlockProc"},
        {"DeleteCachePurge", "MOXCacheDeleteCachePurgeProc"},
        {"PurgeAll", "MOXCachePurgeAllProc"},
        {"PurgeAllStaticCaches", "MOXCachePurgeAllStaticCachesProc"},
        {"AddClientPurge", "MOXCacheAddRemoveClientPurgeProcV2"},
        {"RemoveClientPurge", "MOXCacheAddRemoveClientPurgeProcV2"},
        {"NewCacheSet", "MOXCacheNewCacheSetProc"},
        {"AddRefCacheSet", "MOXCacheAddRefCacheSetProc"},
        {"DeleteCacheSet", "MOXCacheDeleteCacheSetProc"},
        {"SearchForID", "MOXCacheSearchForIDProc"},
        {"RemoveID", "MOXCacheRemoveIDProc"},
        {"RemoveIDs", "MOXCacheRemoveIDsProc"}}},
      {"MOXProgressInterface",
       {{"NewNullProgress", "MOXProgressNewNullProgressProc"},
        {"NewClientProgress", "MOXProgressNewClientProgressProc"},
        {"AddRef", "MOXProgressAddRefProc"},
        {"Release", "MOXProgressReleaseProc"},
        {"Update", "MOXProgressUpdateProc"}}},
      {"MOXFilterInterface",
       {{"NewNullDataSink", "MOXFilterNewNullDataSinkV2Proc"},
        {"NewClientDataSink", "MOXFilterNewClientDataSinkV2Proc"},
        {"NewIdentityFilter", "MOXFilterNewIdentityFilterV2Proc"},
        {"NewClientFilter", "MOXFilterNewClientFilterV2Proc"},
        {"NewFilterJPEG", "MOXFilterNewFilterJPEGV2Proc"},
        {"AddRef", "MOXFilterAddRefV2Proc"},
        {"Release", "MOXFilterReleaseProc"},
        {"Write", "MOXFilterWriteV2Proc"},
        {"IsFilter", "MOXFilterIsFilterProc"},
        {"Close", "MOXFilterCloseProc"},
        {"GetPostScriptFilter", "MOXFilterGetPostScriptFilterProc"},
        {"SetDataSink", "MOXFilterSetDataSinkV2Proc"},
        {"PeekTarget", "MOXFilterPeekTargetProc"},
        {"SetImageParameters", "MOXFilterJPEGSetImageParametersProc"},
        {"SetCompressionParameters", "MOXFilterJPEGSetCompressionParametersProc"},
        {"GetChainState", "MOXFilterGetChainStateV2Proc"},
        {"ResetChainState", "MOXFilterResetChainStateProc"}}},
      {"MOXStreamFactoryInterface",
       {{"NewPositionableMemoryStream", "MOXNewPositionableMemoryStreamProc"},
        {"NewPositionableBufferStream", "MOXNewPositionableBufferStreamProc"},
        {"NewPositionableFileStream", "MOXNewPositionableFileStreamProc"},
        {"NewClientSimpleStream", "MOXNewClientSimpleStreamProc"},
        {"NewClientRewindableStream", "MOXNewClientRewindableStreamProc"},
        {"NewClientPositionableStream", "MOXNewClientPositionableStreamProc"}}},
  };
  for (const Row& table : tables) {
    std::vector<void*> seen;
    for (const auto& method : table.methods) {
      void* proc = Lookup(table.interfaceName, method.first, method.second);
      EXPECT_NE(proc, nullptr) << table.interfaceName << "." << method.first;
      seen.push_back(proc);
    }
    // Distinct methods are distinct procedures: a row bound to the wrong
    // function shows up as a duplicate.
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end()) << table.interfaceName;
  }
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
