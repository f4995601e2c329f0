#include "binding/server_tables.h"

#include "binding/host_tables.h"

bool MOXRegisterMethods(const MOXServerRow* rows, size_t count, const char* interfaceName) {
  for (size_t i = 0; i < count; ++i) {
    if (gMOXRegisterProcAddress(interfaceName, rows[i].method, rows[i].procType,
                                rows[i].function) == 0) {
      return false;
    }
  }
  return true;
}

bool MOXRegisterLayer(const MOXLayerInterfaces& layer) {
  for (size_t i = 0; i < layer.registeredCount; ++i) {
    const MOXServerInterface* group = layer.registered[i];
    if (!MOXRegisterMethods(group->rows, group->count, group->name)) return false;
  }
  return true;
}

void MOXUnregisterLayer(const MOXLayerInterfaces& layer) {
  // A start refused before the core procedures were bound leaves nothing to
  // unregister, and no procedure to do it with.
  MOXUnregisterInterfaceProc unregister = gMOXUnregisterInterface;
  if (unregister == nullptr) return;
  for (size_t i = 0; i < layer.unregisteredCount; ++i) unregister(layer.unregistered[i]->name);
}
