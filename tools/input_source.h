// Where a command's input comes from, and in which format it is.
#ifndef POSCTL_INPUT_SOURCE_H_
#define POSCTL_INPUT_SOURCE_H_

#include <cstdint>
#include <optional>
#include <string>

namespace posctl {

enum class Format { kNotation, kTypeA, kJson };

const char* FormatName(Format format);
// "notation", "typea" or "json"; nullopt for anything else.
std::optional<Format> ParseFormatName(const std::string& name);

// A named file, or standard input for "-". Standard input is copied to a
// temporary file first: every input is read twice, once by posctl's depth
// scan and once by the library, and the runtime's streams need a file they
// can move in.
class InputSource {
 public:
  explicit InputSource(const std::string& argument);
  ~InputSource();
  InputSource(const InputSource&) = delete;
  InputSource& operator=(const InputSource&) = delete;

  // The name in messages: the argument as given, or "<stdin>".
  const std::string& name() const { return name_; }
  // A path the input can be read from.
  const std::string& path() const { return path_; }
  uint64_t size() const { return size_; }

  // The format given, else the one the file name's extension says, else the
  // one its first bytes say: the TypeA version name means TypeA, "{" or a
  // double quotation mark means JSON, anything else is notation.
  Format Resolve(std::optional<Format> given) const;

  // The whole input, for the formats that the library reads from memory.
  std::string ReadAll() const;

 private:
  std::string name_;
  std::string path_;
  bool temporary_ = false;
  uint64_t size_ = 0;
};

}  // namespace posctl

#endif  // POSCTL_INPUT_SOURCE_H_
