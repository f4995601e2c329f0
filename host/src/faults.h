// Fault injection. Tests arm a fault through Runtime; the runtime asks here
// before the operation that can fail. Unarmed, each question costs one
// relaxed atomic load.
#ifndef MOXHOST_FAULTS_H_
#define MOXHOST_FAULTS_H_

#include <atomic>
#include <cstdint>
#include <string>

#include "moxhost/runtime.h"
#include "stats.h"

namespace moxhost {

// In the order of Runtime's FaultPoint.
enum class Fault : uint32_t {
  kAllocation,
  kStringAtom,
  kBuffer,
  kContainer,
  kStreamRead,
  kStreamWrite,
  kStreamMark,
  kStreamSeek,
  kCount
};
static_assert(static_cast<int>(Fault::kCount) == kFaultPointCount, "one Fault per FaultPoint");

namespace fault_internal {
// One bit per Fault, and kNamedBit while any name-based fault is set.
extern std::atomic<uint32_t> gArmed;
constexpr uint32_t kNamedBit = 1u << 31;
constexpr uint32_t Bit(Fault fault) {
  return 1u << static_cast<uint32_t>(fault);
}
bool CountDown(Fault fault);
bool IsRefused(const char* interfaceName, const char* methodName);
bool IsHidden(const char* interfaceName, const char* methodName);
}  // namespace fault_internal

// True when this call is the one the armed fault was counting to, or one
// after it for a fault that fails from then on. Counts the call.
inline bool ShouldFail(CountBlock counts, Fault fault) {
  Count(counts,
        static_cast<Counter>(static_cast<int>(Counter::kFaultPointCalls) + static_cast<int>(fault)),
        1);
  return (fault_internal::gArmed.load(std::memory_order_relaxed) & fault_internal::Bit(fault)) &&
         fault_internal::CountDown(fault);
}

inline bool ShouldFail(Fault fault) {
  return ShouldFail(ThisThreadCounts(), fault);
}

// MOXRegisterProcAddress must refuse this method.
inline bool RegistrationRefused(const char* interfaceName, const char* methodName) {
  return (fault_internal::gArmed.load(std::memory_order_relaxed) & fault_internal::kNamedBit) &&
         fault_internal::IsRefused(interfaceName, methodName);
}

// The lookup procedure must answer null for this method.
inline bool HiddenFromLookup(const char* interfaceName, const char* methodName) {
  return (fault_internal::gArmed.load(std::memory_order_relaxed) & fault_internal::kNamedBit) &&
         fault_internal::IsHidden(interfaceName, methodName);
}

// Fails the n-th call from now (n = 0 disarms); with `sticky`, every call
// from the n-th on.
void ArmCountdown(Fault fault, uint64_t n, bool sticky = false);
// Calls of the operations of `fault` since start.
uint64_t FaultCalls(Fault fault);
void AddRefusedRegistration(const std::string& interfaceName, const std::string& methodName);
void AddHiddenInterface(const std::string& interfaceName);
void AddHiddenMethod(const std::string& interfaceName, const std::string& methodName);
void ClearAllFaults();

}  // namespace moxhost

#endif  // MOXHOST_FAULTS_H_
