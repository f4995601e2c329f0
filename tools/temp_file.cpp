#include "temp_file.h"

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <random>

namespace posctl {
namespace {

// ---- Removal of named temporary files on signals --------------------------
// The handler may run at any instruction, so the paths live in fixed static
// storage and are only changed while signals are held off.

constexpr int kCleanupSlots = 4;
char gCleanupPaths[kCleanupSlots][PATH_MAX];
volatile sig_atomic_t gCleanupUsed[kCleanupSlots];

// Every signal whose default action ends the process, but SIGKILL and
// SIGSTOP, which can't be caught.
constexpr int kEndingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT,   SIGILL,  SIGTRAP, SIGABRT, SIGBUS,
                                  SIGFPE,  SIGUSR1, SIGSEGV,   SIGUSR2, SIGPIPE, SIGALRM, SIGTERM,
                                  SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF, SIGIO,   SIGSYS,  SIGPWR};

void RemoveAndDie(int signal) {
  for (int i = 0; i < kCleanupSlots; ++i) {
    if (gCleanupUsed[i]) unlink(gCleanupPaths[i]);
  }
  // SA_RESETHAND put the default action back: the signal, raised again,
  // ends the process as it would have without this handler.
  raise(signal);
}

void InstallHandlersOnce() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  for (int signal : kEndingSignals) {
    struct sigaction old {};
    if (sigaction(signal, nullptr, &old) != 0) continue;
    // A signal the parent asked us to ignore (nohup, a shell's SIGPIPE) stays ignored.
    if (old.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = RemoveAndDie;
    sigfillset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND;
    sigaction(signal, &action, nullptr);
  }
}

// Call with signals held off. -1 when the path doesn't fit or no slot is free.
int RegisterForCleanup(const std::string& path) {
  if (path.size() >= PATH_MAX) return -1;
  InstallHandlersOnce();
  for (int i = 0; i < kCleanupSlots; ++i) {
    if (!gCleanupUsed[i]) {
      std::memcpy(gCleanupPaths[i], path.c_str(), path.size() + 1);
      gCleanupUsed[i] = 1;
      return i;
    }
  }
  return -1;
}

void UnregisterForCleanup(int slot) {
  if (slot >= 0) gCleanupUsed[slot] = 0;
}

// ---- Unnamed files ---------------------------------------------------------

bool NamedFilesForced() {
  const char* forced = std::getenv("POSCTL_NAMED_TEMP_FILES");
  return forced != nullptr && std::strcmp(forced, "1") == 0;
}

// An unnamed file is given a name through its /proc entry; without /proc
// there is no unprivileged way to do that, so such files aren't made.
bool CanLinkUnnamedFiles() {
  static const bool can = access("/proc/self/fd", X_OK) == 0;
  return can;
}

// File systems that lack O_TMPFILE say so with one of these.
bool MeansUnsupported(int error) {
  return error == EOPNOTSUPP || error == EISDIR || error == EINVAL;
}

int OpenUnnamed(const std::string& dir, int access, mode_t mode) {
#ifdef O_TMPFILE
  if (NamedFilesForced()) {
    errno = EOPNOTSUPP;
    return -1;
  }
  return open(dir.c_str(), O_TMPFILE | access | O_CLOEXEC, mode);
#else
  (void)dir;
  (void)access;
  (void)mode;
  errno = EOPNOTSUPP;
  return -1;
#endif
}

std::string RandomSuffix() {
  static std::mt19937_64 generator(std::random_device{}() ^
                                   (static_cast<uint64_t>(getpid()) << 32));
  static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  std::string suffix(6, 'x');
  for (char& c : suffix) c = kChars[generator() % (sizeof kChars - 1)];
  return suffix;
}

// The hidden name of a new copy of `base`, beside it; long names are cut so
// that the result still fits a directory entry.
std::string HiddenSibling(const std::string& dir, const std::string& base,
                          const std::string& suffix) {
  return dir + "/." + base.substr(0, 200) + ".posctl-" + suffix;
}

}  // namespace

SignalsHeld::SignalsHeld() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &old_);
}

SignalsHeld::~SignalsHeld() {
  pthread_sigmask(SIG_SETMASK, &old_, nullptr);
}

RemovedOnSignal::RemovedOnSignal(const std::string& path) {
  SignalsHeld held;
  slot_ = RegisterForCleanup(path);
}

RemovedOnSignal::~RemovedOnSignal() {
  SignalsHeld held;
  UnregisterForCleanup(slot_);
}

std::string TempDirectory() {
  const char* dir = std::getenv("TMPDIR");
  return dir != nullptr && dir[0] != '\0' ? dir : "/tmp";
}

UniqueFd OpenScratchFile(const std::string& dir, const char* stem) {
  UniqueFd fd(OpenUnnamed(dir, O_RDWR, 0600));
  if (fd || !MeansUnsupported(errno)) return fd;
  std::string path = dir + "/" + stem + ".XXXXXX";
  SignalsHeld held;
  fd.Reset(mkostemp(path.data(), O_CLOEXEC));
  if (fd) unlink(path.c_str());
  return fd;
}

PendingFile::PendingFile(PendingFile&& other) noexcept
    : fd_(std::move(other.fd_)),
      dir_(std::move(other.dir_)),
      base_(std::move(other.base_)),
      namedPath_(std::move(other.namedPath_)),
      cleanupSlot_(std::exchange(other.cleanupSlot_, -1)) {
  other.namedPath_.clear();
}

PendingFile& PendingFile::operator=(PendingFile&& other) noexcept {
  if (this != &other) {
    Discard();
    fd_ = std::move(other.fd_);
    dir_ = std::move(other.dir_);
    base_ = std::move(other.base_);
    namedPath_ = std::move(other.namedPath_);
    other.namedPath_.clear();
    cleanupSlot_ = std::exchange(other.cleanupSlot_, -1);
  }
  return *this;
}

PendingFile::~PendingFile() {
  Discard();
}

void PendingFile::Discard() {
  if (!namedPath_.empty()) {
    SignalsHeld held;
    unlink(namedPath_.c_str());
    UnregisterForCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
    namedPath_.clear();
  }
  fd_.Reset();
}

bool PendingFile::Create(const std::string& dir, const std::string& base, mode_t mode) {
  Discard();
  dir_ = dir;
  base_ = base;
  if (CanLinkUnnamedFiles()) {
    fd_.Reset(OpenUnnamed(dir, O_WRONLY, mode));
    if (!fd_ && !MeansUnsupported(errno)) return false;
  }
  if (fd_) {
    // The umask trimmed the bits that open was given.
    if (fchmod(fd_.get(), mode) == 0) return true;
    const int error = errno;
    Discard();
    errno = error;
    return false;
  }
  SignalsHeld held;
  std::string path = HiddenSibling(dir, base, "XXXXXX");
  fd_.Reset(mkostemp(path.data(), O_CLOEXEC));
  if (!fd_) return false;
  cleanupSlot_ = RegisterForCleanup(path);
  if (cleanupSlot_ < 0) {
    unlink(path.c_str());
    fd_.Reset();
    errno = ENAMETOOLONG;
    return false;
  }
  namedPath_ = path;
  if (fchmod(fd_.get(), mode) != 0) {
    const int error = errno;
    Discard();
    errno = error;
    return false;
  }
  return true;
}

bool PendingFile::Publish(const std::string& path) {
  auto fail = [this] {
    const int error = errno;
    Discard();
    errno = error;
    return false;
  };
  if (!fd_) {
    errno = EBADF;
    return false;
  }
  // On disk before it has a name: a crash after the rename must not leave
  // an empty file where the old one was.
  if (fsync(fd_.get()) != 0) return fail();
  SignalsHeld held;
  if (!namedPath_.empty()) {
    if (rename(namedPath_.c_str(), path.c_str()) != 0) return fail();
    UnregisterForCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
    namedPath_.clear();
    fd_.Reset();
    return true;
  }
  const std::string self = "/proc/self/fd/" + std::to_string(fd_.get());
  // A name nobody has yet is taken in one step; linkat never replaces.
  if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
    fd_.Reset();
    return true;
  }
  if (errno != EEXIST) return fail();
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string hidden = HiddenSibling(dir_, base_, RandomSuffix());
    if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, hidden.c_str(), AT_SYMLINK_FOLLOW) != 0) {
      if (errno == EEXIST) continue;
      return fail();
    }
    if (rename(hidden.c_str(), path.c_str()) != 0) {
      const int error = errno;
      unlink(hidden.c_str());
      errno = error;
      return fail();
    }
    fd_.Reset();
    return true;
  }
  return fail();
}

}  // namespace posctl
