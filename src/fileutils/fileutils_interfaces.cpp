#include "fileutils/fileutils_interfaces.h"

#include "fileutils/dir_interface.h"
#include "fileutils/temp_file_stream_factory.h"

namespace {

// The same order at start and at stop.
const MOXServerInterface* const kFileUtilsInterfaces[] = {
    &kMOXUtilsDirServerInterface,                    // "MOXUtilsDirInterface"
    &kMOXUtilsTempFileStreamFactoryServerInterface,  // "MOXUtilsTempFileStreamFactory"
};

}  // namespace

const MOXLayerInterfaces kMOXFileUtilsLayerInterfaces =
    MOXMakeLayerInterfaces(kFileUtilsInterfaces, kFileUtilsInterfaces);
