// The library's interfaces, in the order of registration at start and of
// unregistration at stop. Each subsystem defines its own tables; this file
// only puts them in order.
#include "binding/server_tables.h"

namespace {

// Registered at start, in this order; the first refusal ends the start.
const MOXServerInterface* const kRegisterOrder[] = {nullptr};
constexpr size_t kRegisterCount = 0;

// Unregistered at stop, in this order.
const char* const kUnregisterOrder[] = {nullptr};
constexpr size_t kUnregisterCount = 0;

}  // namespace

MOXServerInterfaceList MOXInterfacesToRegister() { return {kRegisterOrder, kRegisterCount}; }

MOXInterfaceNameList MOXInterfacesToUnregister() { return {kUnregisterOrder, kUnregisterCount}; }
