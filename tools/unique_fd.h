// A file descriptor that is closed when its owner goes.
#ifndef POSCTL_UNIQUE_FD_H_
#define POSCTL_UNIQUE_FD_H_

#include <unistd.h>

#include <utility>

namespace posctl {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.fd_, -1));
    return *this;
  }
  ~UniqueFd() { Reset(); }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  // Closes what is held and holds `fd` instead.
  void Reset(int fd = -1) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

}  // namespace posctl

#endif  // POSCTL_UNIQUE_FD_H_
