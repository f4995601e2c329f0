#include "registry.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "atoms.h"
#include "faults.h"
#include "reports.h"

namespace moxhost {

Registry& Registry::Get() {
  static Registry* registry = new Registry;
  return *registry;
}

Registry::Registry() {
  for (const InterfaceRows& table : RuntimeInterfaces()) AddRuntimeInterface(table);
}

void Registry::AddRuntimeInterface(const InterfaceRows& table) {
  MethodMap& methods = runtime_[PermanentAtom(table.name)];
  for (size_t i = 0; i < table.count; ++i) {
    const MethodRow& row = table.rows[i];
    methods[{PermanentAtom(row.method), PermanentAtom(row.procType)}] = row.proc;
  }
}

bool Registry::IsRuntimeInterface(const char* interfaceName) const {
  // The runtime's atoms never die, so an address found here stays meaningful.
  MOXStringAtom atom = FindAtom(interfaceName);
  return atom != nullptr && runtime_.count(atom) != 0;
}

uint32_t Registry::Register(const char* interfaceName, const char* methodName,
                            const char* procTypeName, void* procedure) {
  if (interfaceName == nullptr || methodName == nullptr || procTypeName == nullptr ||
      procedure == nullptr) {
    ReportMisuse("MOXRegisterProcAddress: null argument");
    return 0;
  }
  if (RegistrationRefused(interfaceName, methodName)) return 0;
  if (IsRuntimeInterface(interfaceName)) {
    ReportMisuse("MOXRegisterProcAddress: \"%s\" is an interface of the runtime", interfaceName);
    return 0;
  }
  MOXStringAtom interfaceAtom = InternAtom(interfaceName);
  MOXStringAtom methodAtom = InternAtom(methodName);
  MOXStringAtom procTypeAtom = InternAtom(procTypeName);
  if (interfaceAtom == nullptr || methodAtom == nullptr || procTypeAtom == nullptr) {
    ReleaseAtom(interfaceAtom);
    ReleaseAtom(methodAtom);
    ReleaseAtom(procTypeAtom);
    return 0;
  }
  bool interfaceExisted = false;
  bool methodExisted = false;
  try {
    std::unique_lock<std::shared_mutex> lock(mu_);
    auto interfaceIt = registered_.find(interfaceAtom);
    interfaceExisted = interfaceIt != registered_.end();
    if (!interfaceExisted) interfaceIt = registered_.emplace(interfaceAtom, MethodMap()).first;
    auto inserted = interfaceIt->second.insert_or_assign({methodAtom, procTypeAtom}, procedure);
    methodExisted = !inserted.second;
  } catch (const std::bad_alloc&) {
    ReleaseAtom(interfaceAtom);
    ReleaseAtom(methodAtom);
    ReleaseAtom(procTypeAtom);
    return 0;
  }
  // The registry keeps one reference per name it stores, no more.
  if (interfaceExisted) ReleaseAtom(interfaceAtom);
  if (methodExisted) {
    ReleaseAtom(methodAtom);
    ReleaseAtom(procTypeAtom);
  }
  return 1;
}

void Registry::Unregister(const char* interfaceName) {
  if (interfaceName == nullptr) {
    ReportMisuse("MOXUnregisterInterface: null interface name");
    return;
  }
  if (IsRuntimeInterface(interfaceName)) {
    ReportMisuse("MOXUnregisterInterface: \"%s\" is an interface of the runtime", interfaceName);
    return;
  }
  MOXStringAtom interfaceAtom = nullptr;
  MethodMap removed;
  {
    std::unique_lock<std::shared_mutex> lock(mu_);
    // Registered names are alive while the lock is held: see FindAtom.
    auto it = registered_.find(FindAtom(interfaceName));
    if (it != registered_.end()) {
      interfaceAtom = it->first;
      removed.swap(it->second);
      registered_.erase(it);
    }
  }
  for (const auto& entry : removed) {
    ReleaseAtom(entry.first.method);
    ReleaseAtom(entry.first.procType);
  }
  ReleaseAtom(interfaceAtom);
  // Raised even when the name was unknown: a stale cache only costs a reload.
  RaiseCounter();
}

void* Registry::Find(const InterfaceMap& map, MOXStringAtom interfaceName, MOXStringAtom methodName,
                     MOXStringAtom procTypeName, bool* interfaceFound) {
  auto interfaceIt = map.find(interfaceName);
  *interfaceFound = interfaceIt != map.end();
  if (!*interfaceFound) return nullptr;
  auto methodIt = interfaceIt->second.find({methodName, procTypeName});
  return methodIt != interfaceIt->second.end() ? methodIt->second : nullptr;
}

void* Registry::Resolve(MOXStringAtom interfaceName, MOXStringAtom methodName,
                        MOXStringAtom procTypeName) const {
  if (interfaceName == nullptr || methodName == nullptr || procTypeName == nullptr) return nullptr;
  bool found = false;
  void* procedure = Find(runtime_, interfaceName, methodName, procTypeName, &found);
  if (found) return procedure;
  std::shared_lock<std::shared_mutex> lock(mu_);
  return Find(registered_, interfaceName, methodName, procTypeName, &found);
}

void* Registry::LookupByName(const char* interfaceName, const char* methodName,
                             const char* procTypeName) const {
  // The names are looked up under the lock, so that each atom found is either
  // one the registry holds or one no key can share an address with.
  std::shared_lock<std::shared_mutex> lock(mu_);
  MOXStringAtom interfaceAtom = FindAtom(interfaceName);
  MOXStringAtom methodAtom = FindAtom(methodName);
  MOXStringAtom procTypeAtom = FindAtom(procTypeName);
  if (interfaceAtom == nullptr || methodAtom == nullptr || procTypeAtom == nullptr) return nullptr;
  bool found = false;
  void* procedure = Find(runtime_, interfaceAtom, methodAtom, procTypeAtom, &found);
  if (found) return procedure;
  return Find(registered_, interfaceAtom, methodAtom, procTypeAtom, &found);
}

void Registry::RaiseCounter() {
  // Components take 0 for "never loaded", so the counter skips it.
  if (counter_.fetch_add(1, std::memory_order_acq_rel) + 1 == 0) {
    counter_.fetch_add(1, std::memory_order_acq_rel);
  }
}

std::vector<std::string> Registry::RegisteredNames() const {
  std::vector<std::string> names;
  {
    std::shared_lock<std::shared_mutex> lock(mu_);
    for (const auto& entry : registered_) names.emplace_back(AtomText(entry.first));
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace moxhost
