// "MOXUtilsTempFileStreamFactory": temporary-file streams as the runtime
// offers them to every component (include/MOXUtilsFileProcs.h). The one
// method returns its failure as an error, null on success.
#ifndef MOXUTILS_FILEUTILS_TEMP_FILE_STREAM_FACTORY_H_
#define MOXUTILS_FILEUTILS_TEMP_FILE_STREAM_FACTORY_H_

#include "MOXTypes.h"
#include "binding/server_tables.h"

// The interface as the library registers it; its rows are generated from
// MOX_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS.
extern const MOXServerInterface kMOXUtilsTempFileStreamFactoryServerInterface;

namespace MOXUtilsTempFileStreamFactoryEntries {
// Makes a unique file in the temporary directory from `stem` (`second` has
// no effect) and a stream over it opened with `mode`, unowned, in `*out`.
// A failure after the file was made leaves the file behind.
MOXErrorRef NewTempFileStream(MOXContainer* out, const char* stem, const char* second,
                              const char* mode);
}  // namespace MOXUtilsTempFileStreamFactoryEntries

#endif  // MOXUTILS_FILEUTILS_TEMP_FILE_STREAM_FACTORY_H_
