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
