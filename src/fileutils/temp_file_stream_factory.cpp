#include "fileutils/temp_file_stream_factory.h"

#include "MOXUtilsFileProcs.h"
#include "binding/client_streams.h"
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/string_holder.h"
#include "fileutils/dir_client.h"
#include "fileutils/dir_interface.h"
#include "fileutils/temp_file_stream.h"

MOX_DEFINE_SERVER_INTERFACE(kMOXUtilsTempFileStreamFactoryServerInterface,
                            MOX_UTILS_TEMP_FILE_STREAM_FACTORY_NAME,
                            MOXUtilsTempFileStreamFactoryEntries,
                            MOX_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS);

namespace MOXUtilsTempFileStreamFactoryEntries {

MOXErrorRef NewTempFileStream(MOXContainer* out, const char* stem, const char* second,
                              const char* mode) {
  return MOXErrorEntry([&] {
    MOXRequireArgument(out);
    *out = nullptr;
    for (const char* text : {stem, second, mode}) MOXRequireArgument(text);
    CMOXStringHolder modeAtom(mode);
    CMOXStringHolder secondAtom(second);
    CMOXStringHolder stemAtom(stem);

    // The temporary directory as it is now, through the directory interface
    // as any component reaches it.
    MOXContainer tempDir = MOXUtilsDirClient::GetTempDir();
    if (tempDir == nullptr) MOXThrowInvalidContainer();
    CMOXContainerRef dir(tempDir);
    if (!MOXUtilsDirClient::Bind()) dir.GuardedRelease();
    CMOXStringHolder name =
        MOXUtilsDirClient::CreateUniqueFilename(dir.Container(), stemAtom, secondAtom);

    // The file exists from here on, and a failure below leaves it there. The
    // stream is the runtime's from the call on.
    MOXContainer made = MOXNewClientPositionableStream(
        new TempFileStream(dir, name, modeAtom.CString(), /*deleteOnClose=*/true));
    if (made == nullptr) MOXThrowInvalidContainer();
    CMOXPositionableStreamRef stream(made);
    // The stream holds its own references to the name and the directory.
    name.Reset();
    dir.GuardedRelease();
    *out = stream.GiveAway();
  });
}

}  // namespace MOXUtilsTempFileStreamFactoryEntries
