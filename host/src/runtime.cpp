// The process-wide runtime: instrumentation and fault injection for tests.
// The interfaces themselves live in their own files.
#include "moxhost/runtime.h"

#include "errors.h"
#include "faults.h"
#include "registry.h"
#include "reports.h"
#include "stats.h"

namespace moxhost {

Runtime& Runtime::Get() {
  static Runtime* runtime = new Runtime;
  return *runtime;
}

Runtime::Runtime() {
  // Made now, so that the out-of-memory answer never needs memory.
  CoreError(0);
  Registry::Get();
}

Runtime::~Runtime() = default;

std::vector<std::string> Runtime::Reports() const {
  return CopyReports();
}
void Runtime::ClearReports() {
  ClearAllReports();
}
void Runtime::EchoReportsTo(FILE* stream) {
  SetReportEcho(stream);
}

LiveCounts Runtime::Counts() const {
  LiveCounts counts;
  counts.containers = CountSum(Counter::kContainers);
  counts.atoms = CountSum(Counter::kAtoms);
  counts.errors = CountSum(Counter::kErrors);
  counts.sharedBuffers = CountSum(Counter::kSharedBuffers);
  counts.memoryBlocks = CountSum(Counter::kMemoryBlocks);
  counts.memoryBytes = CountSum(Counter::kMemoryBytes);
  counts.cacheIDs = CountSum(Counter::kCacheIDs);
  counts.progress = CountSum(Counter::kProgress);
  counts.filters = CountSum(Counter::kFilters);
  return counts;
}

uint64_t Runtime::GetMethodCalls() const {
  return static_cast<uint64_t>(CountSum(Counter::kGetMethodCalls));
}

uint64_t Runtime::AllocationCalls() const {
  return static_cast<uint64_t>(CountSum(Counter::kAllocationCalls));
}

uint64_t Runtime::UnregisterCount() const {
  return Registry::Get().Counter();
}

std::vector<std::string> Runtime::RegisteredInterfaces() const {
  return Registry::Get().RegisteredNames();
}

void Runtime::FailNth(FaultPoint point, uint64_t n, FaultMode mode) {
  ArmCountdown(static_cast<Fault>(point), n, mode == FaultMode::kFromThenOn);
}

uint64_t Runtime::FaultPointCalls(FaultPoint point) const {
  return FaultCalls(static_cast<Fault>(point));
}

void Runtime::FailNthAllocation(uint64_t n) {
  ArmCountdown(Fault::kAllocation, n);
}
void Runtime::FailNthStringAtom(uint64_t n) {
  ArmCountdown(Fault::kStringAtom, n);
}

void Runtime::FailNthStreamCall(StreamOp op, uint64_t n) {
  static constexpr Fault kFaults[] = {Fault::kStreamRead, Fault::kStreamWrite, Fault::kStreamMark,
                                      Fault::kStreamSeek};
  ArmCountdown(kFaults[static_cast<int>(op)], n);
}

void Runtime::RefuseRegistration(const std::string& interfaceName, const std::string& methodName) {
  AddRefusedRegistration(interfaceName, methodName);
}

void Runtime::HideInterface(const std::string& interfaceName) {
  AddHiddenInterface(interfaceName);
}

void Runtime::HideMethod(const std::string& interfaceName, const std::string& methodName) {
  AddHiddenMethod(interfaceName, methodName);
}

void Runtime::RaiseUnregisterCounter() {
  Registry::Get().RaiseCounter();
}

void Runtime::ClearFaults() {
  ClearAllFaults();
}

}  // namespace moxhost
