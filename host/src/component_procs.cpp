#include "moxhost/component_procs.h"

namespace moxhost {

bool ComponentProcs::Load(MOXLookupProc lookup, std::vector<std::string>* missing) {
  bool complete = true;
#define MOXHOST_FETCH_PROC(member, interfaceName, method, Proc)           \
  member = reinterpret_cast<Proc>(lookup(interfaceName, method, #Proc));  \
  if (member == nullptr) {                                                \
    complete = false;                                                     \
    if (missing != nullptr) missing->push_back(interfaceName "." method); \
  }
  MOXHOST_COMPONENT_PROCS(MOXHOST_FETCH_PROC)
#undef MOXHOST_FETCH_PROC
  return complete;
}

}  // namespace moxhost
