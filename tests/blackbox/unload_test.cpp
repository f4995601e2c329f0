// Loading and unloading libMOXUtils.so as a host does, and what an unload
// with objects still alive may and may not do.
#include <gtest/gtest.h>
#include <unistd.h>

#include <iterator>
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
void* gReal[6];  // the runtime's procedures that Counted<index> wraps
template <int kIndex, typename Handle>
void Counted(Handle handle) {
  if (gUnloading) ++gLateCalls;
  reinterpret_cast<void (*)(Handle)>(gReal[kIndex])(handle);
}
const struct {
  const char* name;  // interface.method
  void* counted;
} kCounted[] = {
    {"MOXContainerInterface.Release", reinterpret_cast<void*>(&Counted<0, MOXContainer>)},
    {"MOXContainerInterface.DecrementWithoutDelete",
     reinterpret_cast<void*>(&Counted<1, MOXContainer>)},
    {"MOXStringInterface.DeleteStringAtom", reinterpret_cast<void*>(&Counted<2, MOXStringAtom>)},
    {"MOXErrorInterface.Release", reinterpret_cast<void*>(&Counted<3, MOXErrorRef>)},
    {"MOXMemoryInterface.Free", reinterpret_cast<void*>(&Counted<4, void*>)},
    {"MOXSharedBuffInterface.Release", reinterpret_cast<void*>(&Counted<5, MOXSharedBuff>)},
};

void* CountingLookup(const char* interfaceName, const char* method, const char* procType) {
  void* real = Runtime::LookupProc()(interfaceName, method, procType);
  const std::string name = std::string(interfaceName) + "." + method;
  for (size_t i = 0; real != nullptr && i < std::size(kCounted); ++i) {
    if (name == kCounted[i].name) {
      gReal[i] = real;
      return kCounted[i].counted;
    }
  }
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
