// moxhost: the reference component runtime.
//
// A process has one runtime. It answers the lookup procedure that a host hands
// to a component (`Runtime::LookupProc()`), keeps the interfaces that
// components register, and implements the runtime's own interfaces:
// containers, errors, string atoms, memory, shared buffers, caches, progress,
// filters and streams.
//
// Besides being a real runtime it is instrumented for tests: live counts of
// every kind of object it hands out, a log of the reports components send to
// MOXReportError, and fault injection.
//
//   moxhost::Runtime& rt = moxhost::Runtime::Get();
//   moxhost::LiveCounts before = rt.Counts();
//   ... run a scenario ...
//   EXPECT_EQ(rt.Counts(), before);
//
// Everything here is thread-safe unless a comment says otherwise.
#ifndef MOXHOST_RUNTIME_H_
#define MOXHOST_RUNTIME_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "MOXTypes.h"

namespace moxhost {

// Objects alive in the runtime at one moment.
struct LiveCounts {
  int64_t containers = 0;
  int64_t atoms = 0;  // distinct live atoms
  int64_t errors = 0;
  int64_t sharedBuffers = 0;
  int64_t memoryBlocks = 0;
  int64_t memoryBytes = 0;
  int64_t cacheIDs = 0;
  int64_t progress = 0;
  int64_t filters = 0;

  bool operator==(const LiveCounts& other) const;
  bool operator!=(const LiveCounts& other) const { return !(*this == other); }
  // "containers=3 atoms=10 ..." for test failure messages.
  std::string ToString() const;
};

// Operations of the runtime's own streams that can be made to fail.
enum class StreamOp { kRead, kWrite, kMark, kSeek };

class Runtime {
 public:
  // The process-wide runtime, created on first use and never destroyed.
  static Runtime& Get();

  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // The C lookup procedure: finds the core procedures (interface "MOX"), the
  // runtime's own interfaces, and everything registered with
  // MOXRegisterProcAddress, by interface, method and proc-type name.
  static MOXLookupProc LookupProc();

  // ---- Reports -------------------------------------------------------------
  // Texts passed to MOXReportError, oldest first.
  std::vector<std::string> Reports() const;
  void ClearReports();
  // When set, every report is also written to `stream` as one line
  // ("libMOXUtils: <text>"), as it arrives. Null stops the echo.
  void EchoReportsTo(FILE* stream);

  // ---- Instrumentation -----------------------------------------------------
  LiveCounts Counts() const;
  // Calls of GetMethod of "MOXContainerInterface" since start.
  uint64_t GetMethodCalls() const;
  // Calls of Alloc and Realloc since start; a scenario that runs N of them can
  // be replayed with each of the N failing in turn.
  uint64_t AllocationCalls() const;
  // The current value of the unregister counter.
  uint64_t UnregisterCount() const;
  // Names of the interfaces currently registered by components.
  std::vector<std::string> RegisteredInterfaces() const;

  // ---- Fault injection -----------------------------------------------------
  // Each fault counts calls from the moment it is set; n = 1 fails the next
  // call. n = 0 clears the fault.
  void FailNthAllocation(uint64_t n);               // Alloc or Realloc returns null
  void FailNthStringAtom(uint64_t n);               // NewStringAtom returns null
  void FailNthStreamCall(StreamOp op, uint64_t n);  // runtime streams return an error
  // MOXRegisterProcAddress refuses this method of this interface.
  void RefuseRegistration(const std::string& interfaceName, const std::string& methodName);
  // The lookup procedure answers null for the whole interface, or one method.
  void HideInterface(const std::string& interfaceName);
  void HideMethod(const std::string& interfaceName, const std::string& methodName);
  // Moves the unregister counter as an unregistration would.
  void RaiseUnregisterCounter();
  // Clears every fault above.
  void ClearFaults();

 private:
  Runtime();
  ~Runtime();
};

// libMOXUtils loaded with dlopen, its three exports bound by symbol version
// "VERSION". Destroying it stops the library if it is started and unloads it.
class LoadedLibrary {
 public:
  // The name libMOXUtils is installed under, its SONAME: "libMOXUtils.so.1".
  static std::string FileName();

  // Where to load libMOXUtils from. The file that the environment variable
  // MOXUTILS_LIBRARY names, when it is set and not empty: an explicit choice
  // wins. Otherwise FileName() in the first of `directories` that holds it,
  // each relative to the directory of the running executable unless absolute,
  // so that a program finds the copy installed beside it wherever the tree was
  // moved. Otherwise FileName() alone, which dlopen looks for in the dynamic
  // loader's search path.
  //
  //   // bin/host finds lib/libMOXUtils.so.1, in its prefix or a moved copy.
  //   LoadedLibrary::Open(LoadedLibrary::Locate({"../lib"}), &error);
  static std::string Locate(const std::vector<std::string>& directories);

  // Null with a message in `error` when the file can't be loaded or lacks one
  // of the three versioned exports.
  static LoadedLibrary* Open(const std::string& path, std::string* error);

  ~LoadedLibrary();
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  uint32_t Version() const;
  // MOXUtilsInitialize with the runtime's lookup procedure.
  bool Start();
  // MOXUtilsInitialize with any lookup procedure (null included).
  uint32_t StartWith(MOXLookupProc lookup);
  // MOXUtilsTerminate.
  void Stop();
  // Stops if started, then dlclose; the object stays, unusable.
  void Unload();
  // dlclose without MOXUtilsTerminate, as a host that goes away without
  // stopping the library: whatever the library still holds is abandoned.
  void UnloadWithoutStop();
  bool IsLoaded() const { return handle_ != nullptr; }

 private:
  LoadedLibrary() = default;
  void* handle_ = nullptr;
  uint32_t (*getVersion_)(void) = nullptr;
  uint32_t (*initialize_)(MOXLookupProc) = nullptr;
  void (*terminate_)(void) = nullptr;
  bool started_ = false;
};

}  // namespace moxhost

#endif  // MOXHOST_RUNTIME_H_
