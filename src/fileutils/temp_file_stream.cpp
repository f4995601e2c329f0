#include "fileutils/temp_file_stream.h"

#include "binding/errors.h"
#include "fileutils/dir_client.h"

namespace {

// A reference of the stream's own to its directory; none when the directory
// interface can't be bound, since the directory is of no use without it.
CMOXContainerRef HoldDirectory(const CMOXContainerRef& directory) {
  CMOXContainerRef held(directory);
  if (!MOXUtilsDirClient::Bind()) held.GuardedRelease();
  return held;
}

// A file stream of the runtime on the file `name` of `directory`, opened
// with the fopen `mode`.
CMOXPositionableStreamRef OpenFile(const CMOXContainerRef& directory, const CMOXStringHolder& name,
                                   const char* mode) {
  CMOXStringHolder path = MOXUtilsDirClient::GetFilePathSpec(directory.Container(), name);
  MOXContainer opened = MOXNewPositionableFileStream(path.CString(), mode);
  // Without the runtime's stream factory there is no stream to wrap.
  if (opened == nullptr) MOXThrowInvalidContainer();
  return CMOXPositionableStreamRef(opened);
}

}  // namespace

TempFileStream::TempFileStream(const CMOXContainerRef& directory, const CMOXStringHolder& name,
                               const char* mode, bool removeOnClose)
    : dir(HoldDirectory(directory)),
      fileName(name),
      stream(OpenFile(dir, fileName, mode)),
      deleteOnClose(removeOnClose),
      reopenedForRead(false) {}

TempFileStream::~TempFileStream() {
  try {
    {
      // An empty memory stream takes the file stream's place only so that
      // the file stream's last reference goes, and the file is closed,
      // before the file is removed. It is never used.
      MOXContainer placeholder = MOXNewPositionableMemoryStream();
      if (placeholder == nullptr) MOXThrowInvalidContainer();
      CMOXPositionableStreamRef fileStream(placeholder);
      stream.Swap(fileStream);
    }
    if (deleteOnClose) MOXUtilsDirClient::Delete(dir.Container(), fileName);
  } catch (...) {
    // A destructor reports nothing. A failure before the removal leaves the
    // file, and a failed removal too.
  }
}

uint64_t TempFileStream::Read(void* buffer, uint64_t size) {
  return stream.Read(buffer, size);
}

void TempFileStream::Write(const void* buffer, uint64_t size) {
  stream.Write(buffer, size);
}

MOXContainer TempFileStream::CreateIndependentlyPositionableStream() {
  TOVWaitMutexLocker locked(*lock.Get());
  if (!reopenedForRead) {
    CMOXPositionableStreamRef readOnly = OpenFile(dir, fileName, "rb");
    // The stream opened at construction leaves with `readOnly`, and its last
    // reference with it: the file is closed, and everything written is in
    // it for the copies to read. Writing ends here, and the position starts
    // again at 0.
    stream.Swap(readOnly);
    reopenedForRead = true;
  }
  MOXContainer copy =
      MOXNewClientPositionableStream(new TempFileStream(dir, fileName, "rb", false));
  if (copy == nullptr) MOXThrowInvalidContainer();
  return copy;
}

void TempFileStream::Seek(int64_t position, int32_t mode) {
  stream.Seek(position, mode);
}

int64_t TempFileStream::Mark() {
  return stream.Mark();
}
