// TempFileStream: a positionable client stream over a file it made for
// itself in the temporary directory. Behind it stands a positionable file
// stream of the runtime, to which Read, Write, Seek and Mark pass straight
// through; there is no buffer and no in-memory stage.
//
// What it adds to a file stream:
//  - the stream that the factory made (deleteOnClose) removes the file when
//    it dies, after closing it;
//  - any number of read-only copies, each with its own position. The first
//    copy request closes the stream's own file stream, which makes what was
//    written visible, and reopens the file read-only at position 0: writing
//    ends there. A copy is a TempFileStream of its own that removes nothing;
//    it reads on after the file's name is gone, but can't be copied then.
//
// It reaches its directory through "MOXUtilsDirInterface" and its file
// streams through the runtime's stream factory, as any component would.
//
// Threads: CreateIndependentlyPositionableStream may run on one stream from
// several threads at once; the stream's own recursive lock, made at the first
// request, guards it. Read, Write, Seek and Mark take no lock: a stream
// belongs to one thread at a time, and none of them may overlap the first
// copy request, which replaces the file stream they use.
#ifndef MOXUTILS_FILEUTILS_TEMP_FILE_STREAM_H_
#define MOXUTILS_FILEUTILS_TEMP_FILE_STREAM_H_

#include <cstdint>

#include "binding/client_streams.h"
#include "binding/container_ref.h"
#include "binding/lazy_terminate.h"
#include "binding/string_holder.h"
#include "binding/wait_mutex.h"

class TempFileStream : public MOX_T_MT::MOXClientPositionableStream {
 public:
  // Opens the file `fileName` of `dir` with the fopen `mode`, through a file
  // stream of the runtime. Errors of the runtime (a file that can't be
  // opened) are thrown, and nothing is removed then. Objects live in the
  // runtime's memory; hand them to MOXNewClientPositionableStream.
  TempFileStream(const CMOXContainerRef& dir, const CMOXStringHolder& fileName, const char* mode,
                 bool deleteOnClose);
  // Closes the file, then removes it if this stream made it. Failures are
  // swallowed: a failure before the removal leaves the file.
  ~TempFileStream() override;

  TempFileStream(const TempFileStream&) = delete;
  TempFileStream& operator=(const TempFileStream&) = delete;

  uint64_t Read(void* buffer, uint64_t size) override;
  void Write(const void* buffer, uint64_t size) override;
  // A new stream container over the file, read-only at position 0, unowned.
  // On the first request of this stream, its own file stream is first
  // replaced by a read-only one at position 0; if that fails, the stream
  // stays as it was and the error is thrown.
  MOXContainer CreateIndependentlyPositionableStream() override;
  void Seek(int64_t position, int32_t mode) override;
  int64_t Mark() override;

  // The bare name of the file in its directory.
  const char* FileName() const { return fileName.CString(); }

 private:
  CMOXContainerRef dir;              // the directory that holds the file
  CMOXStringHolder fileName;         // the bare name of the file
  CMOXPositionableStreamRef stream;  // the runtime's file stream that does the work
  bool deleteOnClose;                // this stream made the file and removes it
  bool reopenedForRead;              // `stream` is the read-only replacement
  // Guards the making of copies; built at the first request.
  MOX_T_MT::TMOXLazyObjectPointer<TOVWaitMutex> lock;
};

#endif  // MOXUTILS_FILEUTILS_TEMP_FILE_STREAM_H_
