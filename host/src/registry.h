// The interfaces the runtime knows: its own, fixed at start, and those that
// components add with MOXRegisterProcAddress. A method is found by interface,
// method and proc-type name together, so a caller that expects another
// signature gets null rather than a procedure it would call wrongly.
//
// Names are held as atoms and compared by address. The runtime's own tables
// never change after start and are read without a lock; registered ones sit
// behind a reader-writer lock, taken shared by lookups.
#ifndef MOXHOST_REGISTRY_H_
#define MOXHOST_REGISTRY_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "MOXTypes.h"

namespace moxhost {

// One method of a runtime interface, in the order of the interface's slots.
struct MethodRow {
  const char* method;
  const char* procType;
  void* proc;
};

// A runtime interface: its name and its rows. The rows are built on first use,
// so that no static constructor depends on another translation unit's.
struct InterfaceRows {
  const char* name;
  const MethodRow* rows;
  size_t count;
};

template <typename Proc>
void* ProcAddress(Proc proc) {
  return reinterpret_cast<void*>(proc);
}

class Registry {
 public:
  static Registry& Get();

  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // MOXRegisterProcAddress: 1 on success, 0 when refused.
  uint32_t Register(const char* interfaceName, const char* methodName, const char* procTypeName,
                    void* procedure);
  // MOXUnregisterInterface.
  void Unregister(const char* interfaceName);

  // The lookup procedure's search, by text.
  void* LookupByName(const char* interfaceName, const char* methodName,
                     const char* procTypeName) const;
  // GetMethod's search, by atom.
  void* Resolve(MOXStringAtom interfaceName, MOXStringAtom methodName,
                MOXStringAtom procTypeName) const;

  uint64_t* CounterAddress() { return reinterpret_cast<uint64_t*>(&counter_); }
  uint64_t Counter() const { return counter_.load(std::memory_order_acquire); }
  void RaiseCounter();

  std::vector<std::string> RegisteredNames() const;

 private:
  struct MethodKey {
    MOXStringAtom method;
    MOXStringAtom procType;
    bool operator==(const MethodKey& other) const {
      return method == other.method && procType == other.procType;
    }
  };
  struct MethodKeyHash {
    size_t operator()(const MethodKey& key) const {
      return std::hash<const void*>()(key.method) * 31 + std::hash<const void*>()(key.procType);
    }
  };
  using MethodMap = std::unordered_map<MethodKey, void*, MethodKeyHash>;
  using InterfaceMap = std::unordered_map<MOXStringAtom, MethodMap>;

  Registry();
  void AddRuntimeInterface(const InterfaceRows& table);
  bool IsRuntimeInterface(const char* interfaceName) const;
  static void* Find(const InterfaceMap& map, MOXStringAtom interfaceName, MOXStringAtom methodName,
                    MOXStringAtom procTypeName, bool* interfaceFound);

  InterfaceMap runtime_;  // fixed after the constructor
  mutable std::shared_mutex mu_;
  InterfaceMap registered_;  // holds one atom reference per name it uses
  // Read by components with a plain load through CounterAddress().
  std::atomic<uint64_t> counter_{1};
  static_assert(sizeof(std::atomic<uint64_t>) == sizeof(uint64_t) &&
                    alignof(std::atomic<uint64_t>) == alignof(uint64_t),
                "the counter is handed out as a plain uint64_t*");
};

// Every interface the runtime implements itself; in RuntimeInterfaces.cpp.
std::vector<InterfaceRows> RuntimeInterfaces();

}  // namespace moxhost

#endif  // MOXHOST_REGISTRY_H_
