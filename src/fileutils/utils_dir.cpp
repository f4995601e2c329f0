#include "fileutils/utils_dir.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "binding/errors.h"
#include "binding/host_tables.h"

namespace {

// A text buffer from the runtime's memory, given back when the scope ends.
class TextBlock {
 public:
  explicit TextBlock(uint64_t size)
      : fText(static_cast<char*>(MOXMemory::AllocOrThrow(size))), fSize(size) {}
  ~TextBlock() { MOXMemory::Free(fText); }
  TextBlock(const TextBlock&) = delete;
  TextBlock& operator=(const TextBlock&) = delete;

  char* Text() const { return fText; }
  size_t Size() const { return static_cast<size_t>(fSize); }

 private:
  char* fText;
  uint64_t fSize;
};

// `error` is the errno of the failed call, passed on as it is.
[[noreturn]] void ThrowFileError(const char* message, int error) {
  MOXThrowNewError(message, kMOXUtilsDirComponent, error, 0, 0);
}

}  // namespace

void MOXUtilsDirImpl::Destroy(void* instance) {
  if (instance != nullptr) delete static_cast<MOXUtilsDirImpl*>(instance);
}

CMOXStringHolder MOXUtilsDirImpl::Join(const char* name) const {
  const char* path = fPath.CString();
  const size_t pathLength = std::strlen(path);
  // An empty path has no last byte: it counts as not ending in "/".
  const bool endsInSlash = pathLength != 0 && path[pathLength - 1] == '/';
  TextBlock joined(pathLength + std::strlen(name) + 16);
  std::snprintf(joined.Text(), joined.Size(), "%s%s%s", path, endsInSlash ? "" : "/", name);
  return CMOXStringHolder(static_cast<const char*>(joined.Text()));
}

bool MOXUtilsDirImpl::FileExists(const char* name) const {
  struct stat info;
  return stat(Join(name).CString(), &info) == 0;
}

void MOXUtilsDirImpl::Delete(const char* name) const {
  CMOXStringHolder path = Join(name);
  if (std::remove(path.CString()) != 0) ThrowFileError(kMOXUtilsDirDeleteFailed, errno);
}

void MOXUtilsDirImpl::Rename(const char* oldName, const char* newName) const {
  CMOXStringHolder from = Join(oldName);
  CMOXStringHolder to = Join(newName);
  if (std::rename(from.CString(), to.CString()) != 0) {
    ThrowFileError(kMOXUtilsDirRenameFailed, errno);
  }
}

CMOXStringHolder MOXUtilsDirImpl::CreateUniqueFilename(const char* stem) const {
  static constexpr char kUniqueSuffix[] = ".XXXXXX";
  const char* path = fPath.CString();
  // The path, "/", the stem, the suffix and the terminator.
  const uint64_t size = std::strlen(path) + 1 + std::strlen(stem) + sizeof kUniqueSuffix;
  TextBlock name(size);
  std::snprintf(name.Text(), name.Size(), "%s/%s%s", path, stem, kUniqueSuffix);
  // The descriptor is not closed: the file stays open, and allocated, for the
  // life of the process.
  if (mkstemp(name.Text()) == -1) ThrowFileError(kMOXUtilsDirCreateFailed, errno);
  return CMOXStringHolder(static_cast<const char*>(std::strrchr(name.Text(), '/') + 1));
}

bool MOXUtilsDirImpl::createNewFile(const char* name) const {
  if (FileExists(name)) return false;
  FILE* file = std::fopen(name, "w");
  if (file == nullptr) ThrowFileError(kMOXUtilsDirCreateFailed, errno);
  std::fclose(file);
  return true;
}

CMOXStringHolder MOXTempDirPath() {
  const char* value = std::getenv("TMPDIR");
  return CMOXStringHolder(value != nullptr ? value : "/tmp");
}

CMOXStringHolder MOXCurrentDirPath() {
  char buffer[1024];
  const char* path = getcwd(buffer, sizeof buffer);
  // A path that does not fit gives no text, of which the runtime can make no
  // atom: the caller meets what a failed atom always gives.
  if (path == nullptr) MOXThrowBadAlloc();
  return CMOXStringHolder(path);
}
