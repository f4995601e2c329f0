// Files that posctl makes for its own use and must never leave behind.
//
// Where the file system allows it they have no name at all (O_TMPFILE): the
// kernel drops such a file with its last descriptor, whatever ends the
// process, SIGKILL included, and a file meant to become an output is linked
// into place only once it is complete.
//
// Elsewhere a scratch file loses its name right after mkstemp, with every
// catchable signal held off in between. A file that is to become an output
// keeps a hidden name beside its target while it is written, and a handler
// of every catchable signal removes it. What remains possible there: SIGKILL
// in the instant between mkstemp and unlink of a scratch file, or at any time
// while an output is being written, leaves that file.
//
// POSCTL_NAMED_TEMP_FILES=1 in the environment makes posctl take the second
// way everywhere, so that tests reach it on any file system.
#ifndef POSCTL_TEMP_FILE_H_
#define POSCTL_TEMP_FILE_H_

#include <signal.h>
#include <sys/types.h>

#include <string>

#include "unique_fd.h"

namespace posctl {

// Holds off every catchable signal for its scope, so that a file and its
// registration for removal come into being together.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t old_;
};

// While it lives, posctl's handlers of the catchable signals remove the file
// `path`, a temporary file with a name that another part (the library) made
// and removes itself when all goes well. False from registered() when
// there was no room for it.
class RemovedOnSignal {
 public:
  explicit RemovedOnSignal(const std::string& path);
  ~RemovedOnSignal();
  RemovedOnSignal(const RemovedOnSignal&) = delete;
  RemovedOnSignal& operator=(const RemovedOnSignal&) = delete;
  bool registered() const { return slot_ >= 0; }

 private:
  int slot_;
};

// $TMPDIR, or /tmp when it is unset or empty.
std::string TempDirectory();

// An empty file in `dir`, open for reading and writing, that no name leads
// to. An invalid descriptor on failure, with errno set.
UniqueFd OpenScratchFile(const std::string& dir, const char* stem);

// A new file in a directory that takes its name only when Publish is called;
// until then nobody sees it, and if Publish never comes it is gone.
class PendingFile {
 public:
  PendingFile() = default;
  PendingFile(PendingFile&& other) noexcept;
  PendingFile& operator=(PendingFile&& other) noexcept;
  ~PendingFile();

  // A file in `dir` (for a target named `base` there) with permission bits
  // `mode`. False with errno set on failure.
  bool Create(const std::string& dir, const std::string& base, mode_t mode);
  int fd() const { return fd_.get(); }

  // Gives the file the name `path`, which lies in the directory given to
  // Create, atomically replacing what had that name. False with errno set
  // on failure; the file is then discarded.
  bool Publish(const std::string& path);

 private:
  void Discard();

  UniqueFd fd_;
  std::string dir_;
  std::string base_;
  std::string namedPath_;  // empty for a file without a name
  int cleanupSlot_ = -1;
};

}  // namespace posctl

#endif  // POSCTL_TEMP_FILE_H_
