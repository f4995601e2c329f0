// Positionable streams over a file opened with fopen, so that every fopen
// mode means what it means there. Reads and writes go straight to the file
// descriptor at the stream's own position (pread, pwrite): nothing is
// buffered, what a stream wrote is in the file at once, and independent
// copies share the descriptor while each keeps its own position.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

#include "errors.h"
#include "streams.h"

namespace moxhost {
namespace {

struct OpenFile {
  explicit OpenFile(FILE* opened) : file(opened), fd(fileno(opened)) {}
  ~OpenFile() { std::fclose(file); }
  FILE* file;
  int fd;
  std::mutex appendMu;  // an append and the size read after it go together
};

MOXErrorRef ErrnoError(const char* what, int error) {
  return MakeError(kIOError, "%s: %s", what, std::strerror(error));
}

class FileStream : public PositionedStream {
 public:
  FileStream(std::shared_ptr<OpenFile> file, bool readable, bool writable, bool append)
      : file_(std::move(file)), readable_(readable), writable_(writable), append_(append) {}

  MOXErrorRef Read(uint64_t* count, void* buffer, uint64_t size) override {
    if (!readable_) return MakeError(kAccessDenied, "Read: the file stream is write-only");
    uint64_t done = 0;
    while (done < size) {
      ssize_t n = pread(file_->fd, static_cast<char*>(buffer) + done, size - done,
                        static_cast<off_t>(position_ + static_cast<int64_t>(done)));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        *count = done;
        position_ += static_cast<int64_t>(done);
        return ErrnoError("Read", errno);
      }
      if (n == 0) break;
      done += static_cast<uint64_t>(n);
    }
    *count = done;
    position_ += static_cast<int64_t>(done);
    return nullptr;
  }

  MOXErrorRef Write(const void* buffer, uint64_t size) override {
    if (!writable_) return MakeError(kAccessDenied, "Write: the file stream is read-only");
    if (append_) return Append(buffer, size);
    uint64_t done = 0;
    while (done < size) {
      ssize_t n = pwrite(file_->fd, static_cast<const char*>(buffer) + done, size - done,
                         static_cast<off_t>(position_ + static_cast<int64_t>(done)));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        position_ += static_cast<int64_t>(done);
        return ErrnoError("Write", errno);
      }
      done += static_cast<uint64_t>(n);
    }
    position_ += static_cast<int64_t>(done);
    return nullptr;
  }

  MOXErrorRef CreateIndependentlyPositionable(MOXContainer* out) override {
    *out = nullptr;
    auto* copy = new (std::nothrow) FileStream(file_, readable_, writable_, append_);
    if (copy == nullptr) return OutOfMemoryError();
    return WrapStream(out, copy, StreamLevel::kPositionable);
  }

 protected:
  MOXErrorRef Size(int64_t* size) override {
    struct stat info;
    if (fstat(file_->fd, &info) != 0) return ErrnoError("Seek", errno);
    *size = static_cast<int64_t>(info.st_size);
    return nullptr;
  }

 private:
  // In append mode the descriptor has O_APPEND: every write lands at the end,
  // wherever the stream stands, and the stream then stands at the new end.
  MOXErrorRef Append(const void* buffer, uint64_t size) {
    std::lock_guard<std::mutex> lock(file_->appendMu);
    uint64_t done = 0;
    while (done < size) {
      ssize_t n = write(file_->fd, static_cast<const char*>(buffer) + done, size - done);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return ErrnoError("Write", errno);
      done += static_cast<uint64_t>(n);
    }
    return Size(&position_);
  }

  std::shared_ptr<OpenFile> file_;
  const bool readable_;
  const bool writable_;
  const bool append_;
};

}  // namespace

MOXErrorRef NewFileStream(MOXContainer* out, const char* path, const char* mode) {
  if (out == nullptr) {
    return MakeError(kInvalidArgument, "NewPositionableFileStream: null out-parameter");
  }
  *out = nullptr;
  if (path == nullptr || mode == nullptr) {
    return MakeError(kInvalidArgument, "NewPositionableFileStream: null %s",
                     path == nullptr ? "path" : "mode");
  }
  if (mode[0] != 'r' && mode[0] != 'w' && mode[0] != 'a') {
    return MakeError(kInvalidArgument, "NewPositionableFileStream: invalid mode \"%s\"", mode);
  }
  const bool update = std::strchr(mode, '+') != nullptr;
  const bool readable = mode[0] == 'r' || update;
  const bool writable = mode[0] != 'r' || update;
  FILE* file = std::fopen(path, mode);
  if (file == nullptr) {
    const int error = errno;
    return MakeError(kIOError, "NewPositionableFileStream: cannot open \"%s\": %s", path,
                     std::strerror(error));
  }
  struct stat info;
  if (fstat(fileno(file), &info) == 0 && S_ISDIR(info.st_mode)) {
    std::fclose(file);
    return MakeError(kIOError, "NewPositionableFileStream: \"%s\" is a directory", path);
  }
  std::shared_ptr<OpenFile> opened;
  try {
    opened = std::make_shared<OpenFile>(file);
  } catch (const std::bad_alloc&) {
    std::fclose(file);
    return OutOfMemoryError();
  }
  auto* stream = new (std::nothrow) FileStream(opened, readable, writable, mode[0] == 'a');
  if (stream == nullptr) return OutOfMemoryError();
  return WrapStream(out, stream, StreamLevel::kPositionable);
}

}  // namespace moxhost
