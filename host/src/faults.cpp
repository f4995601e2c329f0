#include "faults.h"

#include <mutex>
#include <set>
#include <utility>

namespace moxhost {
namespace fault_internal {

std::atomic<uint32_t> gArmed{0};

namespace {

std::atomic<uint64_t> gRemaining[static_cast<size_t>(Fault::kCount)];
// Set for a fault that fails every call from the n-th on.
std::atomic<bool> gSticky[static_cast<size_t>(Fault::kCount)];

struct NamedFaults {
  std::mutex mu;
  std::set<std::pair<std::string, std::string>> refused;
  std::set<std::string> hiddenInterfaces;
  std::set<std::pair<std::string, std::string>> hiddenMethods;
};

NamedFaults& Named() {
  static NamedFaults* named = new NamedFaults;
  return *named;
}

}  // namespace

bool CountDown(Fault fault) {
  std::atomic<uint64_t>& remaining = gRemaining[static_cast<size_t>(fault)];
  uint64_t current = remaining.load(std::memory_order_relaxed);
  while (current != 0) {
    // A sticky fault stays at its last step: this call and all later fail.
    if (current == 1 && gSticky[static_cast<size_t>(fault)].load(std::memory_order_relaxed)) {
      return true;
    }
    if (remaining.compare_exchange_weak(current, current - 1, std::memory_order_relaxed)) {
      if (current != 1) return false;
      // Only the n-th call fails; later ones take the fast path again.
      gArmed.fetch_and(~Bit(fault), std::memory_order_relaxed);
      return true;
    }
  }
  return false;
}

bool IsRefused(const char* interfaceName, const char* methodName) {
  NamedFaults& named = Named();
  std::lock_guard<std::mutex> lock(named.mu);
  return named.refused.count({interfaceName, methodName}) != 0;
}

bool IsHidden(const char* interfaceName, const char* methodName) {
  NamedFaults& named = Named();
  std::lock_guard<std::mutex> lock(named.mu);
  return named.hiddenInterfaces.count(interfaceName) != 0 ||
         named.hiddenMethods.count({interfaceName, methodName}) != 0;
}

}  // namespace fault_internal

using namespace fault_internal;

void ArmCountdown(Fault fault, uint64_t n, bool sticky) {
  gSticky[static_cast<size_t>(fault)].store(sticky, std::memory_order_relaxed);
  gRemaining[static_cast<size_t>(fault)].store(n, std::memory_order_relaxed);
  if (n == 0) {
    gArmed.fetch_and(~Bit(fault), std::memory_order_relaxed);
  } else {
    gArmed.fetch_or(Bit(fault), std::memory_order_relaxed);
  }
}

uint64_t FaultCalls(Fault fault) {
  return static_cast<uint64_t>(CountSum(
      static_cast<Counter>(static_cast<int>(Counter::kFaultPointCalls) + static_cast<int>(fault))));
}

void AddRefusedRegistration(const std::string& interfaceName, const std::string& methodName) {
  NamedFaults& named = Named();
  std::lock_guard<std::mutex> lock(named.mu);
  named.refused.insert({interfaceName, methodName});
  gArmed.fetch_or(kNamedBit, std::memory_order_relaxed);
}

void AddHiddenInterface(const std::string& interfaceName) {
  NamedFaults& named = Named();
  std::lock_guard<std::mutex> lock(named.mu);
  named.hiddenInterfaces.insert(interfaceName);
  gArmed.fetch_or(kNamedBit, std::memory_order_relaxed);
}

void AddHiddenMethod(const std::string& interfaceName, const std::string& methodName) {
  NamedFaults& named = Named();
  std::lock_guard<std::mutex> lock(named.mu);
  named.hiddenMethods.insert({interfaceName, methodName});
  gArmed.fetch_or(kNamedBit, std::memory_order_relaxed);
}

void ClearAllFaults() {
  for (size_t i = 0; i < static_cast<size_t>(Fault::kCount); ++i) {
    ArmCountdown(static_cast<Fault>(i), 0);
  }
  NamedFaults& named = Named();
  std::lock_guard<std::mutex> lock(named.mu);
  named.refused.clear();
  named.hiddenInterfaces.clear();
  named.hiddenMethods.clear();
  gArmed.fetch_and(~kNamedBit, std::memory_order_relaxed);
}

}  // namespace moxhost
