// An input read from its start, byte by byte, through a block buffer, with
// the line and column of the next byte: for scanners that walk inputs of
// hundreds of megabytes without holding them.
#ifndef POSCTL_BLOCK_READER_H_
#define POSCTL_BLOCK_READER_H_

#include <cstddef>
#include <cstdint>

#include "input_source.h"
#include "source_tree.h"

namespace posctl {

class BlockReader {
 public:
  explicit BlockReader(const InputSource& input) : input_(input) {}
  BlockReader(const BlockReader&) = delete;
  BlockReader& operator=(const BlockReader&) = delete;

  // The next byte; false at the end. Throws ToolError when the input can't
  // be read.
  bool Next(unsigned char* byte);
  // The next byte without taking it.
  bool Peek(unsigned char* byte);
  // Offset of the next byte.
  uint64_t offset() const { return lines_.here().offset; }
  // Where the next byte stands.
  const Location& here() const { return lines_.here(); }

 private:
  bool Fill();

  const InputSource& input_;
  char block_[1 << 16];
  size_t size_ = 0;
  size_t at_ = 0;
  uint64_t blockEnd_ = 0;
  LineCounter lines_;
};

}  // namespace posctl

#endif  // POSCTL_BLOCK_READER_H_
