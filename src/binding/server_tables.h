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

// The interfaces that one layer offers. The start registers them in the order
// of `registered`; the stop unregisters the same interfaces in the order of
// `unregistered`, which is the order the layer's own clients need.
struct MOXLayerInterfaces {
  const MOXServerInterface* const* registered;
  size_t registeredCount;
  const MOXServerInterface* const* unregistered;
  size_t unregisteredCount;
};

template <size_t kRegistered, size_t kUnregistered>
constexpr MOXLayerInterfaces MOXMakeLayerInterfaces(
    const MOXServerInterface* const (&registered)[kRegistered],
    const MOXServerInterface* const (&unregistered)[kUnregistered]) {
  return {registered, kRegistered, unregistered, kUnregistered};
}

// Registers the layer's interfaces in order. Stops at the first refusal and
// returns false; interfaces and rows registered before it stay registered.
bool MOXRegisterLayer(const MOXLayerInterfaces& layer);
// Unregisters the layer's interfaces in its order of unregistration. Does
// nothing when the runtime's MOXUnregisterInterface was never bound.
void MOXUnregisterLayer(const MOXLayerInterfaces& layer);

#endif  // MOXUTILS_BINDING_SERVER_TABLES_H_
