// The library's own interfaces as it registers them: tables of rows (method
// name, proc-type name, function), registered in order at start and
// unregistered at stop.
#ifndef MOXUTILS_BINDING_SERVER_TABLES_H_
#define MOXUTILS_BINDING_SERVER_TABLES_H_

#include <cstddef>

struct MOXServerRow {
  const char* method;
  const char* procType;
  void* function;
};

// One interface: its name and its rows. The rows end with a closing row of
// empty strings and a null function, which `count` does not include.
struct MOXServerInterface {
  const char* name;
  const MOXServerRow* rows;
  size_t count;
};

// The address of a server function, checked against its proc type at compile
// time.
template <typename Proc>
inline void* MOXServerProcAddress(Proc function) {
  return reinterpret_cast<void*>(function);
}

// A row whose proc-type name is the name of its C typedef, so that the table
// and the public header can't drift apart.
#define MOX_SERVER_ROW(method, ProcType, function) \
  { method, #ProcType, MOXServerProcAddress<ProcType>(function) }
#define MOX_SERVER_END_ROW \
  { "", "", nullptr }

// Registers each row in order with MOXRegisterProcAddress. Stops at the first
// refusal and returns false; rows already registered stay registered.
bool MOXRegisterMethods(const MOXServerRow* rows, size_t count, const char* interfaceName);

// The library's interfaces, in the order of registration at start, and the
// names in the order of unregistration at stop.
struct MOXServerInterfaceList {
  const MOXServerInterface* const* interfaces;
  size_t count;
};
MOXServerInterfaceList MOXInterfacesToRegister();
struct MOXInterfaceNameList {
  const char* const* names;
  size_t count;
};
MOXInterfaceNameList MOXInterfacesToUnregister();

#endif  // MOXUTILS_BINDING_SERVER_TABLES_H_
