// The library's interfaces, layer by layer: what the start registers and the
// stop unregisters. Each layer names its own interfaces and their order; this
// list only puts the layers in order.
#ifndef MOXUTILS_LIBRARY_LIBRARY_INTERFACES_H_
#define MOXUTILS_LIBRARY_LIBRARY_INTERFACES_H_

// Registers the layers' interfaces, the bottom layer first. Stops at the first
// refusal and returns false; what was registered before it stays registered.
bool MOXRegisterLibraryInterfaces();

// Unregisters them, the top layer first, so that no interface goes before
// those that use it.
void MOXUnregisterLibraryInterfaces();

#endif  // MOXUTILS_LIBRARY_LIBRARY_INTERFACES_H_
