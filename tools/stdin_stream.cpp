#include "stdin_stream.h"

#include <dirent.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>

#include "diagnostics.h"
#include "runtime_streams.h"
#include "temp_file.h"

namespace posctl {
namespace {

constexpr char kName[] = "<stdin>";

// Reads through a stream of the runtime; one reader at a time.
class StreamBytes : public ByteSource {
 public:
  explicit StreamBytes(RuntimeStream stream) : stream_(std::move(stream)) {}

  ssize_t ReadAt(uint64_t offset, void* buffer, size_t size) const override {
    std::lock_guard<std::mutex> lock(mutex_);
    try {
      stream_.SeekTo(static_cast<int64_t>(offset));
      return static_cast<ssize_t>(stream_.Read(buffer, size));
    } catch (const ToolError&) {
      errno = EIO;
      return -1;
    }
  }

 private:
  mutable std::mutex mutex_;
  mutable RuntimeStream stream_;
};

// The text of a failure of the file utilities: theirs is the same for every
// errno, which is the error's id.
std::string ErrorText(const Procs& procs, MOXErrorRef error) {
  std::string text;
  MOXStringAtom component = procs.error.GetComponent(error);
  if (component != nullptr && std::strcmp(procs.string.GetCString(component), "MOXUtilsDir") == 0) {
    text = std::strerror(static_cast<int>(procs.error.GetID(error)));
  } else {
    MOXStringAtom message = procs.error.GetErrorMessage(error);
    text = message != nullptr ? procs.string.GetCString(message) : "unknown runtime error";
  }
  procs.error.Release(error);
  return text;
}

// The path of the file that the library made from `stem` in its temporary
// directory: the stem, a point and six characters. The stem is posctl's
// alone, so one file matches.
std::optional<std::string> FindMadeFile(const Procs& procs, const std::string& stem) {
  MOXContainer dir = nullptr;
  MOXErrorRef error = procs.utilsDir.GetTempDir(&dir);
  if (error != nullptr) {
    procs.error.Release(error);
    return std::nullopt;
  }
  Ref held(procs, dir);
  auto pathOf = [&](const std::string& name) -> std::optional<std::string> {
    Atom atom(procs, name.c_str());
    MOXStringAtom path = nullptr;
    MOXErrorRef failed = procs.utilsDir.GetFilePathSpec(&path, dir, atom.get());
    if (failed != nullptr) {
      procs.error.Release(failed);
      return std::nullopt;
    }
    std::string text = procs.string.GetCString(path);
    procs.string.DeleteStringAtom(path);
    return text;
  };
  const std::optional<std::string> here = pathOf(".");
  if (!here) return std::nullopt;
  std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(here->c_str()), closedir);
  if (!listing) return std::nullopt;
  while (const dirent* entry = readdir(listing.get())) {
    const std::string name = entry->d_name;
    if (name.size() == stem.size() + 7 && name.compare(0, stem.size() + 1, stem + ".") == 0) {
      return pathOf(name);
    }
  }
  return std::nullopt;
}

}  // namespace

InputSource ReadStandardInputThroughLibrary(LibrarySession& session) {
  const Procs& procs = session.procs();
  static std::atomic<unsigned> made{0};
  const std::string stem =
      "posctl-stdin-" + std::to_string(getpid()) + "-" + std::to_string(made++);
  // Declared first, so that on the way out the file goes before its
  // registration does.
  std::unique_ptr<RemovedOnSignal> removal;
  std::optional<RuntimeStream> first;
  {
    SignalsHeld held;
    MOXContainer stream = nullptr;
    MOXErrorRef error =
        procs.tempFileStreamFactory.NewTempFileStream(&stream, stem.c_str(), "", "wb");
    if (error != nullptr) {
      FailInput("posctl: error: can't make a temporary file for standard input: " +
                ErrorText(procs, error));
    }
    first = RuntimeStream::Adopt(session, stream, kName);
    if (const std::optional<std::string> path = FindMadeFile(procs, stem)) {
      removal = std::make_unique<RemovedOnSignal>(*path);
    }
  }
  uint64_t size = 0;
  char block[1 << 16];
  for (;;) {
    const ssize_t n = read(STDIN_FILENO, block, sizeof block);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) FailInput(std::string("posctl: error: standard input: ") + std::strerror(errno));
    if (n == 0) break;
    first->Write(block, static_cast<uint64_t>(n));
    size += static_cast<uint64_t>(n);
  }
  // The copy reads what was written; the stream that made the file takes
  // its name with it.
  RuntimeStream copy = first->Copy();
  first.reset();
  removal.reset();
  return InputSource::FromBytes(kName, std::make_shared<StreamBytes>(std::move(copy)), size);
}

}  // namespace posctl
