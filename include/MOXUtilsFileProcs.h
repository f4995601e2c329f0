/*
 * MOXUtilsFileProcs.h: the file utilities of libMOXUtils, two interfaces
 * registered at start in this order:
 *
 *  - "MOXUtilsDirInterface": directory objects. A directory object holds a
 *    path as it was given (nothing checks that the directory exists, nothing
 *    normalises it) and names files relative to it. A name is joined to the
 *    path with one "/" between them unless the path already ends in "/";
 *    "." and ".." stay as they are, and a name of several components, or one
 *    that starts with "/", is appended like any other.
 *  - "MOXUtilsTempFileStreamFactory": positionable streams over a file that
 *    the stream creates for itself in the temporary directory and removes
 *    when it goes.
 *
 * The interfaces' methods are listed below in slot order, one X(Method,
 * ProcType) entry per method, as in POSProcs.h.
 *
 * Every method returns a MOXErrorRef: null on success, otherwise an error
 * with one reference for the caller, and its results through the
 * out-parameter that comes first. Each out-parameter is cleared before the
 * work begins, so a failure leaves null, 0 or false there. Failures of the
 * file system are errors of component "MOXUtilsDir" whose id is the errno of
 * the failed call, untranslated; the message names the operation and is the
 * same for every errno ("MOXUtilsDirImpl::Delete: Unknown error"). Running
 * out of memory gives the runtime's core error 1. A null out-parameter, atom
 * or text is refused with the error "null argument" (component "TOV", id 0),
 * apart from the second atom of CreateUniqueFilename, which may be null.
 *
 * Ownership:
 *  - Atoms passed in stay the caller's.
 *  - An atom returned through an out-parameter carries one reference for the
 *    caller, who releases it with DeleteStringAtom.
 *  - A directory handle or stream returned is unowned, as POS handles are:
 *    its count was not raised for the caller, and a caller that keeps it
 *    calls AddRef of "MOXContainerInterface".
 *
 * The temporary directory is the value of the environment variable TMPDIR,
 * read on every call, whatever it is (an empty value included), or "/tmp"
 * when the variable is not set.
 *
 * Threads: directory objects are immutable and take no lock, so any number
 * of threads may use one at once. The methods read process-wide state
 * (TMPDIR, the working directory) that a concurrent setenv or chdir changes
 * under them. A temporary-file stream belongs to one thread at a time, with
 * one exception: CreateIndependentlyPositionableStream may be called on one
 * stream from several threads at once, and each copy then belongs to the
 * thread that made it. The first copy request of a stream replaces the file
 * stream that its Read, Write, Mark and Seek use, so no such call on that
 * stream may overlap it.
 */
#ifndef MOXUTILS_MOXUTILSFILEPROCS_H_
#define MOXUTILS_MOXUTILSFILEPROCS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- "MOXUtilsDirInterface" --------------------------------------------- */

#define MOX_UTILS_DIR_INTERFACE_NAME "MOXUtilsDirInterface"
/* Methods of MOXUtilsDirInterface in slot order. */
#define MOX_UTILS_DIR_INTERFACE_METHODS(X)       \
  X(GetTempDir, MOXUtilsDirGetTempDir)           \
  X(GetCurrent, MOXUtilsDirGetCurrent)           \
  X(NewMOXUtilsDir, MOXUtilsDirNewMOXUtilsDir)   \
  X(FileExists, MOXUtilsDirFileExists)           \
  X(Delete, MOXUtilsDirDelete)                   \
  X(Rename, MOXUtilsDirRename)                   \
  X(GetFilePathSpec, MOXUtilsDirGetFilePathSpec) \
  X(CreateUniqueFilename, MOXUtilsDirCreateUniqueFilename)

/* A directory object of the temporary directory (see above). */
typedef MOXErrorRef (*MOXUtilsDirGetTempDir)(MOXContainer* out);
/* A directory object of the working directory. A working directory whose
 * path needs 1024 bytes or more gives the out-of-memory error. */
typedef MOXErrorRef (*MOXUtilsDirGetCurrent)(MOXContainer* out);
/* A directory object of `path`, which is neither examined nor changed. */
typedef MOXErrorRef (*MOXUtilsDirNewMOXUtilsDir)(MOXContainer* out, MOXStringAtom path);
/* `*exists` is true when the joined path can be stat'ed: a directory counts,
 * a dangling symbolic link or a path that can't be searched doesn't. Never
 * an error of the file system. */
typedef MOXErrorRef (*MOXUtilsDirFileExists)(uint8_t* exists, MOXContainer dir, MOXStringAtom name);
/* Removes the file, or the empty directory, `name`. */
typedef MOXErrorRef (*MOXUtilsDirDelete)(MOXContainer dir, MOXStringAtom name);
/* Renames `oldName` to `newName`, both in `dir`; an existing file of the new
 * name is replaced. */
typedef MOXErrorRef (*MOXUtilsDirRename)(MOXContainer dir, MOXStringAtom oldName,
                                         MOXStringAtom newName);
/* The joined path of `name`. */
typedef MOXErrorRef (*MOXUtilsDirGetFilePathSpec)(MOXStringAtom* path, MOXContainer dir,
                                                  MOXStringAtom name);
/* Creates a new, empty file named `stem`, a point and six characters in
 * `dir` (with mkstemp) and gives its bare name. The path is the directory's,
 * then always a "/", then the name, so a path that ends in "/" gives a
 * doubled separator; a stem with a "/" names a file in a subdirectory and
 * only the part behind the last "/" comes back. `second` is accepted and has
 * no effect. The descriptor of the new file is left open until the process
 * ends, so its storage outlives a Delete. A failure gives the message
 * "MOXUtilsDirImpl::createNewFile: Unknown error". */
typedef MOXErrorRef (*MOXUtilsDirCreateUniqueFilename)(MOXStringAtom* name, MOXContainer dir,
                                                       MOXStringAtom stem, MOXStringAtom second);

/* ---- "MOXUtilsTempFileStreamFactory" ------------------------------------ */

#define MOX_UTILS_TEMP_FILE_STREAM_FACTORY_NAME "MOXUtilsTempFileStreamFactory"
/* Methods of MOXUtilsTempFileStreamFactory in slot order. The proc-type name
 * is the one components have always fetched it by. */
#define MOX_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS(X) \
  X(NewTempFileStream, _MOXUtilsNewTempFileStreamProc_NewTempFileStream)

/* A positionable stream over a new file made as CreateUniqueFilename makes
 * it, in the temporary directory, from `stem` (`second` has no effect), and
 * opened with the fopen `mode`, which is not checked: a read-only mode gives
 * a stream that can never be written. The stream comes back unowned, and its
 * file is removed when it dies; a failure after the file was made leaves the
 * file behind. The stream opens the file's bare name in the temporary
 * directory: a stem with a "/" makes the unique file in a subdirectory, and
 * then a write mode makes a second file beside the subdirectory (the one the
 * stream removes) and a read mode fails; the unique file stays either way.
 *
 * CreateIndependentlyPositionableStream (or ...Rewindable...) of the stream
 * gives a read-only copy over the same file, at position 0, with a position
 * of its own. The first copy request ends writing: the stream closes its
 * file, which makes everything written visible to the copies, and goes on
 * read-only, at position 0. Copies of copies behave the same. A copy lives
 * on after the stream that made the file, and keeps reading after the file's
 * name is gone, but can make no further copies then; it removes nothing when
 * it dies. */
typedef MOXErrorRef (*_MOXUtilsNewTempFileStreamProc_NewTempFileStream)(MOXContainer* out,
                                                                        const char* stem,
                                                                        const char* second,
                                                                        const char* mode);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_MOXUTILSFILEPROCS_H_ */
