#include "moxhost/component_procs.h"

namespace moxhost {

namespace {

// Fetches one procedure into `slot`; a miss is counted and named.
template <typename Proc>
void Fetch(MOXLookupProc lookup, const char* interfaceName, const char* method,
           const char* procType, Proc* slot, bool* complete, std::vector<std::string>* missing) {
  *slot = reinterpret_cast<Proc>(lookup(interfaceName, method, procType));
  if (*slot != nullptr) return;
  *complete = false;
  if (missing != nullptr) missing->push_back(std::string(interfaceName) + "." + method);
}

}  // namespace

bool ComponentProcs::Load(MOXLookupProc lookup, std::vector<std::string>* missing) {
  bool complete = true;
  // For each interface, `table` and `interfaceName` name it for the methods'
  // fetches that its list expands to.
#define MOXHOST_FETCH_PROC(Method, ProcType) \
  Fetch(lookup, interfaceName, #Method, #ProcType, &table.Method, &complete, missing);
#define MOXHOST_FETCH_INTERFACE(member, name, METHODS) \
  {                                                    \
    auto& table = member;                              \
    const char* interfaceName = name;                  \
    METHODS(MOXHOST_FETCH_PROC)                        \
  }
  MOXHOST_CATALOGUE_INTERFACES(MOXHOST_FETCH_INTERFACE)
#undef MOXHOST_FETCH_INTERFACE
#undef MOXHOST_FETCH_PROC
  return complete;
}

}  // namespace moxhost
