#include "output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "diagnostics.h"

namespace posctl {
namespace {

constexpr size_t kBufferSize = 1 << 16;

std::string Why(int error) {
  return std::strerror(error);
}

void SplitPath(const std::string& path, std::string* dir, std::string* base) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) {
    *dir = ".";
    *base = path;
  } else {
    *dir = slash == 0 ? "/" : path.substr(0, slash);
    *base = path.substr(slash + 1);
  }
}

mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& argument, Kind kind) : name_(argument) {
  auto fail = [&](const std::string& why) { FailInput("posctl: error: " + name_ + ": " + why); };
  if (argument == "-") {
    name_ = "standard output";
    fd_ = STDOUT_FILENO;
    return;
  }
  struct stat info {};
  const bool existing = stat(argument.c_str(), &info) == 0;
  mode_t mode = NewFileMode();
  if (existing) {
    if (S_ISDIR(info.st_mode)) fail("is a directory");
    if (!S_ISREG(info.st_mode)) {
      if (kind == Kind::kEditedInPlace) {
        fail("not a regular file, so it can't be rewritten in place (give -o OUT for the result)");
      }
      direct_.Reset(open(argument.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
      if (!direct_) fail(Why(errno));
      fd_ = direct_.get();
      return;
    }
    // The effective IDs decide, as they do for open: root is refused only
    // what root can't write either, a read-only file system or an
    // immutable file.
    if (faccessat(AT_FDCWD, argument.c_str(), W_OK, AT_EACCESS) != 0) fail(Why(errno));
    char resolved[PATH_MAX];
    if (realpath(argument.c_str(), resolved) == nullptr) fail(Why(errno));
    target_ = resolved;
    mode = info.st_mode & 07777;
  } else {
    const int error = errno;
    struct stat link;
    if (error == ENOENT && lstat(argument.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
      fail("a symbolic link to a file that doesn't exist");
    }
    if (error != ENOENT || kind == Kind::kEditedInPlace) fail(Why(error));
    target_ = argument;
  }
  std::string dir, base;
  SplitPath(target_, &dir, &base);
  if (!pending_.Create(dir, base, mode)) {
    fail("can't write a new copy in " + dir + ": " + Why(errno));
  }
  fd_ = pending_.fd();
  if (existing && (info.st_uid != geteuid() || info.st_gid != getegid())) {
    // The copy belongs to whoever writes it: give it the old owner back
    // where the system lets us (root can; others at most the group).
    if (fchown(fd_, info.st_uid, info.st_gid) != 0) {
      [[maybe_unused]] const int groupOnly = fchown(fd_, static_cast<uid_t>(-1), info.st_gid);
    }
    // A change of owner clears the set-user-ID and set-group-ID bits.
    fchmod(fd_, mode);
  }
}

OutputFile::~OutputFile() {
  if (target_.empty() && error_ == 0) Flush();
}

bool OutputFile::IsTerminal() const {
  return target_.empty() && isatty(fd_) == 1;
}

bool OutputFile::Flush() {
  size_t done = 0;
  while (done < buffer_.size()) {
    const ssize_t n = write(fd_, buffer_.data() + done, buffer_.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      error_ = errno;
      return false;
    }
    done += static_cast<size_t>(n);
  }
  buffer_.clear();
  return true;
}

bool OutputFile::TryWrite(const void* data, size_t size) {
  if (error_ != 0) return false;
  buffer_.append(static_cast<const char*>(data), size);
  return buffer_.size() < kBufferSize || Flush();
}

void OutputFile::Write(std::string_view bytes) {
  if (!TryWrite(bytes.data(), bytes.size())) ThrowFailure();
}

void OutputFile::ThrowFailure() const {
  FailInput("posctl: error: " + name_ + ": " + Why(error_));
}

void OutputFile::Commit() {
  if (!Flush()) ThrowFailure();
  if (target_.empty()) return;
  if (!pending_.Publish(target_)) {
    FailInput("posctl: error: " + name_ + ": can't put the new copy in place: " + Why(errno));
  }
}

}  // namespace posctl
