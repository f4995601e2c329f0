// Where a command's input comes from, and in which format it is.
#ifndef POSCTL_INPUT_SOURCE_H_
#define POSCTL_INPUT_SOURCE_H_

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <streambuf>
#include <string>

#include "unique_fd.h"

namespace posctl {

enum class Format { kNotation, kTypeA, kJson };

const char* FormatName(Format format);
// "text notation", "TypeA" or "JSON", for messages.
const char* DisplayFormatName(Format format);
// "notation", "typea" or "json"; nullopt for anything else.
std::optional<Format> ParseFormatName(const std::string& name);

// Bytes of an input that come through something else than a descriptor,
// read at any offset. -1 with errno set on failure; never throws.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual ssize_t ReadAt(uint64_t offset, void* buffer, size_t size) const = 0;
};

// A named file, standard input for "-", or a text from the command line.
// Every input is read more than once (posctl's own scan first, then the
// library) and at any offset, so what can't be read that way, standard
// input, a FIFO or a device, is first copied to a scratch file that has no
// name and so can't be left behind (see temp_file.h).
class InputSource {
 public:
  // Throws ToolError when the file can't be opened or copied.
  explicit InputSource(const std::string& argument);
  // `text` under `name` in messages, such as the value of `set`.
  static InputSource FromText(std::string name, std::string text);
  // `size` bytes that `source` gives, under `name` in messages.
  static InputSource FromBytes(std::string name, std::shared_ptr<const ByteSource> source,
                               uint64_t size);

  InputSource(InputSource&&) = default;
  InputSource& operator=(InputSource&&) = default;

  // The name in messages: the argument as given, or "<stdin>".
  const std::string& name() const { return name_; }
  uint64_t size() const { return size_; }
  // A named regular file: an edit can rewrite it in place.
  bool IsRegularFile() const { return regularFile_; }

  // Up to `size` bytes at `offset`, fewer only at the end. -1 with errno
  // set on failure; never throws.
  ssize_t ReadSome(uint64_t offset, void* buffer, size_t size) const;
  // The bytes from `from` to `to`, or to the end. Throws ToolError.
  std::string ReadRange(uint64_t from, uint64_t to) const;
  std::string ReadAll() const { return ReadRange(0, size_); }

  // The format given, else the one the file name's extension says, else the
  // one its first bytes say: the TypeA version name means TypeA, "{" or a
  // double quotation mark means JSON, anything else is notation.
  Format Resolve(std::optional<Format> given) const;

 private:
  InputSource() = default;

  std::string name_;
  UniqueFd fd_;
  std::string text_;  // the input itself, when it comes from the command line
  std::shared_ptr<const ByteSource> bytes_;
  bool regularFile_ = false;
  uint64_t size_ = 0;
};

// Reads an input from its start in blocks, for parsers that take a
// std::istream.
class InputStreamBuf : public std::streambuf {
 public:
  explicit InputStreamBuf(const InputSource& input) : input_(input) {}
  // Bytes handed to the parser so far.
  uint64_t consumed() const { return blockStart_ + static_cast<uint64_t>(gptr() - eback()); }

 protected:
  int_type underflow() override;

 private:
  const InputSource& input_;
  char block_[1 << 16];
  uint64_t blockStart_ = 0;
  uint64_t nextBlock_ = 0;
};

}  // namespace posctl

#endif  // POSCTL_INPUT_SOURCE_H_
