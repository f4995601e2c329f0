// "MOXUtilsDirInterface": directory objects as the runtime offers them to
// every component (include/MOXUtilsFileProcs.h). Each method returns its
// failure as an error, null on success; nothing is raised across it.
//
// Directory containers are made and found under the validator's pair of
// names, fValidatorImpl and fValidatorInterface, so that a directory handle
// and a validator handle carry the same names. A validator handed to a
// directory method is told apart by its instance tag and refused with
// "invalid container".
#ifndef MOXUTILS_FILEUTILS_DIR_INTERFACE_H_
#define MOXUTILS_FILEUTILS_DIR_INTERFACE_H_

#include <cstdint>

#include "MOXTypes.h"
#include "binding/server_tables.h"
#include "binding/string_holder.h"
#include "fileutils/utils_dir.h"

// The interface as the library registers it; its rows are generated from
// MOX_UTILS_DIR_INTERFACE_METHODS.
extern const MOXServerInterface kMOXUtilsDirServerInterface;

// The directory record behind `handle`: its instance under fValidatorImpl.
// "invalid container" when there is none, or when it is a validator's.
MOXUtilsDirImpl* MOXFindDirectory(MOXContainer handle);

// A new directory container of `path`, unowned.
MOXContainer MOXNewDirectory(CMOXStringHolder path);

// Refuses a null argument of a method with the error "null argument".
void MOXRequireArgument(const void* argument);

// The methods themselves, named after them.
namespace MOXUtilsDirEntries {
MOXErrorRef GetTempDir(MOXContainer* out);
MOXErrorRef GetCurrent(MOXContainer* out);
MOXErrorRef NewMOXUtilsDir(MOXContainer* out, MOXStringAtom path);
MOXErrorRef FileExists(uint8_t* exists, MOXContainer dir, MOXStringAtom name);
MOXErrorRef Delete(MOXContainer dir, MOXStringAtom name);
MOXErrorRef Rename(MOXContainer dir, MOXStringAtom oldName, MOXStringAtom newName);
MOXErrorRef GetFilePathSpec(MOXStringAtom* path, MOXContainer dir, MOXStringAtom name);
MOXErrorRef CreateUniqueFilename(MOXStringAtom* name, MOXContainer dir, MOXStringAtom stem,
                                 MOXStringAtom second);
}  // namespace MOXUtilsDirEntries

#endif  // MOXUTILS_FILEUTILS_DIR_INTERFACE_H_
