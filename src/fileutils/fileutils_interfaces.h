// The file utilities' interfaces, in the order the library registers them and
// unregisters them: the directory interface, then the temporary-file stream
// factory that is its client.
#ifndef MOXUTILS_FILEUTILS_FILEUTILS_INTERFACES_H_
#define MOXUTILS_FILEUTILS_FILEUTILS_INTERFACES_H_

#include "binding/server_tables.h"

extern const MOXLayerInterfaces kMOXFileUtilsLayerInterfaces;

#endif  // MOXUTILS_FILEUTILS_FILEUTILS_INTERFACES_H_
