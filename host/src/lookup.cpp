// The lookup procedure and the core procedures of interface "MOX", and the
// list of every interface the runtime implements itself.
#include "atoms.h"
#include "cache.h"
#include "containers.h"
#include "errors.h"
#include "faults.h"
#include "filters.h"
#include "MOXRuntimeProcs.h"
#include "memory.h"
#include "progress.h"
#include "registry.h"
#include "reports.h"
#include "shared_buffers.h"
#include "streams.h"
#include "moxhost/runtime.h"

namespace moxhost {
namespace {

uint32_t RegisterProcAddress(const char* interfaceName, const char* methodName,
                             const char* procTypeName, void* procedure) {
  return Registry::Get().Register(interfaceName, methodName, procTypeName, procedure);
}

void UnregisterInterface(const char* interfaceName) {
  Registry::Get().Unregister(interfaceName);
}

uint64_t* GetUnregisterCountAddr() {
  return Registry::Get().CounterAddress();
}

// Every procedure of the runtime may be called from any thread.
int8_t IsMultiThreaded() {
  return 1;
}

InterfaceRows CoreInterface() {
  // Core procedures go by their proc-type name as method name too.
  static const MethodRow rows[] = {
      {"MOXRegisterProcAddress", "MOXRegisterProcAddress",
       ProcAddress<MOXRegisterProcAddressProc>(RegisterProcAddress)},
      {"MOXReportError", "MOXReportError", ProcAddress<MOXReportErrorProc>(ReportErrorProc)},
      {"MOXUnregisterInterface", "MOXUnregisterInterface",
       ProcAddress<MOXUnregisterInterfaceProc>(UnregisterInterface)},
      {"MOXGetUnregisterCountAddr", "MOXGetUnregisterCountAddr",
       ProcAddress<MOXGetUnregisterCountAddrProc>(GetUnregisterCountAddr)},
      {"MOXIsMultiThreaded", "MOXIsMultiThreaded",
       ProcAddress<MOXIsMultiThreadedProc>(IsMultiThreaded)},
  };
  return {"MOX", rows, sizeof rows / sizeof rows[0]};
}

void* Lookup(const char* interfaceName, const char* methodName, const char* procTypeName) {
  if (interfaceName == nullptr || methodName == nullptr || procTypeName == nullptr) return nullptr;
  if (HiddenFromLookup(interfaceName, methodName)) return nullptr;
  return Registry::Get().LookupByName(interfaceName, methodName, procTypeName);
}

}  // namespace

std::vector<InterfaceRows> RuntimeInterfaces() {
  std::vector<InterfaceRows> interfaces = {
      CoreInterface(),   ContainerInterface(),     ErrorInterface(), StringInterface(),
      MemoryInterface(), SharedBuffInterface(),    CacheInterface(), ProgressInterface(),
      FilterInterface(), StreamFactoryInterface(),
  };
  for (const InterfaceRows& streams : StreamMethodInterfaces()) interfaces.push_back(streams);
  return interfaces;
}

MOXLookupProc Runtime::LookupProc() {
  Get();  // the tables exist before the first lookup
  return Lookup;
}

}  // namespace moxhost
