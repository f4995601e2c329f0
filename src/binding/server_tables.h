// The library's own interfaces as it registers them: tables of rows (method
// name, proc-type name, function) made from each interface's method list
// (method_rows.h), registered in order at start and unregistered at stop.
#ifndef MOXUTILS_BINDING_SERVER_TABLES_H_
#define MOXUTILS_BINDING_SERVER_TABLES_H_

#include <cstddef>

#include "binding/method_rows.h"

// One interface: its name and its rows. The rows end with a closing row of
// empty strings and a null function, which `count` does not include.
struct MOXServerInterface {
  const char* name;
  const MOXServerRow* rows;
  size_t count;
};

#define MOX_SERVER_ENTRY_ROW(Method, ProcType) \
  MOX_SERVER_ROW(#Method, ProcType, &MOXEntries::Method),

// Defines the MOXServerInterface `Variable` of the interface `name` (its name
// macro) from its method list: one row per method, in slot order, whose
// function is the one of the same name in namespace `Entries`. Use it at
// namespace scope, where `Entries` is visible:
//
//   namespace POSNumberEntries {
//   MOXContainer NewPOSNumber(double value);
//   bool IsPOSNumber(MOXContainer object);
//   double Get(MOXContainer object);
//   }
//   MOX_DEFINE_SERVER_INTERFACE(gPOSNumberServerInterface, POS_NUMBER_INTERFACE_NAME,
//                               POSNumberEntries, POS_NUMBER_INTERFACE_METHODS);
#define MOX_DEFINE_SERVER_INTERFACE(Variable, name, Entries, METHODS)                \
  namespace Variable##Rows {                                                         \
    namespace MOXEntries = Entries;                                                  \
    const MOXServerRow kRows[] = {METHODS(MOX_SERVER_ENTRY_ROW) MOX_SERVER_END_ROW}; \
  }                                                                                  \
  const MOXServerInterface Variable = {name, Variable##Rows::kRows,                  \
                                       MOXRowCount(Variable##Rows::kRows)}

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
