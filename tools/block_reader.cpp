#include "block_reader.h"

#include <cerrno>
#include <cstring>

#include "diagnostics.h"

namespace posctl {

bool BlockReader::Fill() {
  if (at_ < size_) return true;
  const ssize_t n = input_.ReadSome(blockEnd_, block_, sizeof block_);
  if (n < 0) FailInput("posctl: error: " + input_.name() + ": " + std::strerror(errno));
  size_ = static_cast<size_t>(n);
  at_ = 0;
  blockEnd_ += size_;
  return size_ > 0;
}

bool BlockReader::Next(unsigned char* byte) {
  if (!Fill()) return false;
  *byte = static_cast<unsigned char>(block_[at_++]);
  lines_.Take(*byte);
  return true;
}

bool BlockReader::Peek(unsigned char* byte) {
  if (!Fill()) return false;
  *byte = static_cast<unsigned char>(block_[at_]);
  return true;
}

}  // namespace posctl
