// Loading and unloading libMOXUtils.so as a host does, and what an unload
// with objects still alive may and may not do.
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "blackbox/pos_procs.h"
#include "moxhost/runtime.h"
#include "support/child_process.h"

namespace moxtest {
namespace {

using moxhost::LoadedLibrary;
using moxhost::Runtime;

TEST(LoadedLibrary, BindsTheVersionedExportsAndLoadsAgainAfterAnUnload) {
  std::string error;
  for (int round = 0; round < 2; ++round) {
    std::unique_ptr<LoadedLibrary> library(
        LoadedLibrary::Open(LoadedLibrary::Locate({MOX_BUILT_LIBRARY_DIR}), &error));
    ASSERT_NE(library, nullptr) << error;
    EXPECT_EQ(library->Version(), 65793u);
    ASSERT_TRUE(library->Start());
    EXPECT_NE(Runtime::LookupProc()("POSNumberInterface", "Get", "POSNumberGetProc"), nullptr);
    library->Unload();  // stops first
    EXPECT_EQ(Runtime::LookupProc()("POSNumberInterface", "Get", "POSNumberGetProc"), nullptr);
    EXPECT_FALSE(library->IsLoaded());
  }
  EXPECT_EQ(LoadedLibrary::Open("/nonexistent/libMOXUtils.so", &error), nullptr);
  EXPECT_NE(error.find("/nonexistent/libMOXUtils.so"), std::string::npos) << error;
  EXPECT_EQ(LoadedLibrary::Open("libm.so.6", &error), nullptr) << "a library without the exports";
  EXPECT_NE(error.find("MOXUtilsGetVersion@VERSION"), std::string::npos) << error;
}

// Release procedures of the runtime, counted once the unload has begun.
bool gUnloading = false;
int gLateCalls = 0;
MOXReleaseContainerProc gRelease;
MOXDecrementWithoutDeleteProc gDecrement;
MOXDeleteStringAtomProc gDeleteAtom;
MOXErrorReleaseProc gErrorRelease;
MOXMemFreeProc gFree;
MOXSharedBuffReleaseProc gBufferRelease;

template <typename Proc, Proc* Real, typename... Args>
void Counted(Args... args) {
  if (gUnloading) ++gLateCalls;
  (*Real)(args...);
}

void* CountingLookup(const char* interfaceName, const char* method, const char* procType) {
  void* real = Runtime::LookupProc()(interfaceName, method, procType);
  if (real == nullptr) return nullptr;
  auto wrap = [&](auto& slot, void* counted) {
    slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(real);
    return counted;
  };
  std::string name = std::string(interfaceName) + "." + method;
  if (name == "MOXContainerInterface.Release")
    return wrap(gRelease, reinterpret_cast<void*>(
                              &Counted<MOXReleaseContainerProc, &gRelease, MOXContainer>));
  if (name == "MOXContainerInterface.DecrementWithoutDelete")
    return wrap(gDecrement,
                reinterpret_cast<void*>(
                    &Counted<MOXDecrementWithoutDeleteProc, &gDecrement, MOXContainer>));
  if (name == "MOXStringInterface.DeleteStringAtom")
    return wrap(gDeleteAtom, reinterpret_cast<void*>(
                                 &Counted<MOXDeleteStringAtomProc, &gDeleteAtom, MOXStringAtom>));
  if (name == "MOXErrorInterface.Release")
    return wrap(gErrorRelease, reinterpret_cast<void*>(
                                   &Counted<MOXErrorReleaseProc, &gErrorRelease, MOXErrorRef>));
  if (name == "MOXMemoryInterface.Free")
    return wrap(gFree, reinterpret_cast<void*>(&Counted<MOXMemFreeProc, &gFree, void*>));
  if (name == "MOXSharedBuffInterface.Release")
    return wrap(gBufferRelease,
                reinterpret_cast<void*>(
                    &Counted<MOXSharedBuffReleaseProc, &gBufferRelease, MOXSharedBuff>));
  return real;
}

// A host that unloads the library without stopping it, while it still holds
// objects: the library abandons what it holds and calls nothing of the
// runtime, which may be on its way out too.
void UnloadWithLiveObjects(int reportFd) {
  std::string error;
  LoadedLibrary* library =
      LoadedLibrary::Open(LoadedLibrary::Locate({MOX_BUILT_LIBRARY_DIR}), &error);
  if (library == nullptr || library->StartWith(&CountingLookup) != 1) _exit(2);
  POSProcs p;
  if (!p.Load(Runtime::LookupProc())) _exit(4);
  MOXContainer tree =
      p.Keep(p.posStatics.CreateFromText("<list [#1 (two) `0041`] name (x)>", nullptr));
  p.Put(tree, "blob", p.posBinData.NewPOSBinData("raw", "\x01\x02", 2));
  p.posObject.Clone(tree);  // an unowned clone, left at count zero
  gUnloading = true;
  library->UnloadWithoutStop();
  ReportNumber(reportFd, gLateCalls);
  _exit(0);  // the objects' destroy procedures are gone with the library
}

TEST(LoadedLibrary, UnloadWithLiveObjectsMakesNoCallIntoTheRuntime) {
  ChildResult child = RunInChild(&UnloadWithLiveObjects);
  ASSERT_TRUE(child.exited);
  ASSERT_EQ(child.status, 0);
  EXPECT_EQ(child.report, "0") << "calls into the runtime during the unload";
}

}  // namespace
}  // namespace moxtest
