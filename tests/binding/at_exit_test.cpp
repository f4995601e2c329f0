// Process exit with live handles: after the library's exit hook has run,
// destroying a handle that still holds a container, an atom, an error or a
// shared buffer must make no call into a runtime that may be gone.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "MOXUtils.h"
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/host_wrappers.h"
#include "binding/string_holder.h"
#include "moxhost/runtime.h"
#include "support/child_process.h"

namespace {

// Set by the late holder when it begins to drop its handles; every call of a
// release procedure from then on is counted.
bool gExitHookHasRun = false;
int gLateCalls = 0;
int gReportFd = -1;

// The runtime's release procedures, each wrapped by Counting<its index>.
void* gReal[5];
template <int kIndex, typename Handle>
void Counting(Handle handle) {
  if (gExitHookHasRun) ++gLateCalls;
  reinterpret_cast<void (*)(Handle)>(gReal[kIndex])(handle);
}
const struct {
  const char* interfaceName;
  const char* method;
  void* wrapper;
} kWrapped[] = {
    {"MOXContainerInterface", "Release", reinterpret_cast<void*>(&Counting<0, MOXContainer>)},
    {"MOXStringInterface", "DeleteStringAtom",
     reinterpret_cast<void*>(&Counting<1, MOXStringAtom>)},
    {"MOXErrorInterface", "Release", reinterpret_cast<void*>(&Counting<2, MOXErrorRef>)},
    {"MOXMemoryInterface", "Free", reinterpret_cast<void*>(&Counting<3, void*>)},
    {"MOXSharedBuffInterface", "Release", reinterpret_cast<void*>(&Counting<4, MOXSharedBuff>)},
};

// Hands out counting wrappers for the release procedures.
void* WrappingLookup(const char* interfaceName, const char* method, const char* procType) {
  void* real = moxhost::Runtime::LookupProc()(interfaceName, method, procType);
  for (size_t i = 0; real != nullptr && i < std::size(kWrapped); ++i) {
    if (std::strcmp(interfaceName, kWrapped[i].interfaceName) == 0 &&
        std::strcmp(method, kWrapped[i].method) == 0) {
      gReal[i] = real;
      return kWrapped[i].wrapper;
    }
  }
  return real;
}

struct Handles {
  CMOXContainerRef container;
  CMOXStringHolder atom;
  CMOXError error;
  MOXSharedBuff buffer = nullptr;
  ~Handles() { MOXSharedBuffProcs::Release(buffer); }
};

void NoDestroy(void*) {}

// Built before main, so destroyed after every exit hook registered later,
// the library's among them.
struct LateHolder {
  std::unique_ptr<Handles> handles;
  ~LateHolder() {
    if (gReportFd < 0) return;
    gExitHookHasRun = true;
    handles.reset();
    // A host that stops the library from its own exit handlers, after the
    // library's exit hook and static destructors: nothing left to do.
    MOXUtilsTerminate();
    moxtest::ReportNumber(gReportFd, gLateCalls);
    close(gReportFd);
  }
} gLate;

void HoldHandlesAcrossExit(int reportFd) {
  if (MOXUtilsInitialize(&WrappingLookup) != 1) _exit(2);
  auto handles = std::make_unique<Handles>();
  CMOXStringHolder name("TestImpl");
  handles->container = CMOXContainerRef(MOXNewFullContainer(&gLate, name, &NoDestroy, name));
  handles->atom = CMOXStringHolder("held at exit");
  handles->error = CMOXError("held at exit", "", 0, 0, 0);
  handles->buffer = MOXNewSharedBuffer(16, nullptr, nullptr, 0, 0);
  gLate.handles = std::move(handles);
  gReportFd = reportFd;
  std::exit(0);  // no MOXUtilsTerminate: the host goes away with the process
}

TEST(AtExit, HandlesOutlivingTheHostMakeNoCall) {
  moxtest::ChildResult child = moxtest::RunInChild(&HoldHandlesAcrossExit);
  ASSERT_TRUE(child.exited);
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(child.report, "0") << "calls into the runtime after the exit hook";
}

}  // namespace
