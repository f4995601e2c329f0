// MOXUtilsDirImpl: a directory object, the path of a directory and the
// operations on files named relative to it. It holds one string atom and no
// open resource; nothing checks that the directory exists, the path is kept
// as it came, and every operation builds its path anew and goes to the C
// library.
//
// Failures of the file system are thrown as CMOXError of component
// "MOXUtilsDir" with the errno of the failed call as the id, untranslated;
// running out of memory as std::bad_alloc.
//
// Threads: a directory object is immutable after construction and takes no
// lock. getenv and getcwd read process-wide state, which a concurrent setenv
// or chdir changes under them.
#ifndef MOXUTILS_FILEUTILS_UTILS_DIR_H_
#define MOXUTILS_FILEUTILS_UTILS_DIR_H_

#include <utility>

#include "binding/client_base.h"
#include "binding/string_holder.h"

// What the file operations throw, with the errno of the failed call as id.
constexpr char kMOXUtilsDirComponent[] = "MOXUtilsDir";
constexpr char kMOXUtilsDirDeleteFailed[] = "MOXUtilsDirImpl::Delete: Unknown error";
constexpr char kMOXUtilsDirRenameFailed[] = "MOXUtilsDirImpl::Rename: Unknown error";
// Also what CreateUniqueFilename throws: it grew out of createNewFile, whose
// name its message keeps.
constexpr char kMOXUtilsDirCreateFailed[] = "MOXUtilsDirImpl::createNewFile: Unknown error";

// The instance of a directory container: two words, the path's atom and its
// C string, from the runtime's memory. Its container's destroy procedure is
// MOXUtilsDirImpl::Destroy.
class MOXUtilsDirImpl : public MOX_T_MT::CMOXClientBase {
 public:
  // Takes over `path`'s reference. The path is not examined.
  explicit MOXUtilsDirImpl(CMOXStringHolder path) noexcept : fPath(std::move(path)) {}
  MOXUtilsDirImpl(const MOXUtilsDirImpl&) = delete;
  MOXUtilsDirImpl& operator=(const MOXUtilsDirImpl&) = delete;

  // The destroy procedure of a directory container: drops the atom and gives
  // the record back to the runtime. Accepts null.
  static void Destroy(void* instance);

  const CMOXStringHolder& Path() const { return fPath; }

  // The path of `name` in this directory: the path, a "/" unless the path
  // already ends in one, and the name. Nothing is normalised, and a name
  // that starts with "/" is appended like any other.
  CMOXStringHolder Join(const char* name) const;

  // True when stat of the joined path succeeds, whatever stops it otherwise.
  bool FileExists(const char* name) const;
  // remove of the joined path: a file or an empty directory.
  void Delete(const char* name) const;
  // rename of one joined path to the other; an existing target is replaced.
  void Rename(const char* oldName, const char* newName) const;
  // Makes a new, empty file with mkstemp from the path, "/" (always, even
  // after a path that ends in one), `stem` and ".XXXXXX", and returns what
  // follows the last "/" of the name made. The descriptor is left open on
  // purpose: it lasts until the process ends, and so does the file's storage.
  CMOXStringHolder CreateUniqueFilename(const char* stem) const;
  // False when the joined path exists. Otherwise makes `name` with fopen(
  // name, "w") and closes it again: the bare name, relative to the working
  // directory and not to this directory. True when made.
  bool createNewFile(const char* name) const;

 private:
  CMOXStringHolder fPath;
};

// The path of the temporary directory: TMPDIR, read afresh on every call and
// taken as it is (an empty value too), or "/tmp" when it is not set.
CMOXStringHolder MOXTempDirPath();

// The path of the working directory, read with getcwd into 1024 bytes, once.
// A longer path throws std::bad_alloc: its caller sees running out of memory.
CMOXStringHolder MOXCurrentDirPath();

#endif  // MOXUTILS_FILEUTILS_UTILS_DIR_H_
