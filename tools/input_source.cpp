#include "input_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "diagnostics.h"
#include "temp_file.h"

namespace posctl {
namespace {

constexpr char kTypeAMagic[] = "POSStreamerTypeA_Version1.0";

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

[[noreturn]] void FailFile(const std::string& name, int error) {
  FailInput("posctl: error: " + name + ": " + std::strerror(error));
}

// Copies everything `from` gives to a scratch file and returns that.
UniqueFd Spool(int from, const std::string& name) {
  const std::string dir = TempDirectory();
  UniqueFd copy = OpenScratchFile(dir, "posctl-stdin");
  if (!copy) {
    FailInput("posctl: error: can't make a scratch copy of " + name + " in " + dir + ": " +
              std::strerror(errno));
  }
  char block[1 << 16];
  for (;;) {
    const ssize_t n = read(from, block, sizeof block);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) FailFile(name, errno);
    if (n == 0) break;
    for (ssize_t done = 0; done < n;) {
      const ssize_t w = write(copy.get(), block + done, static_cast<size_t>(n - done));
      if (w < 0 && errno == EINTR) continue;
      if (w < 0) {
        FailInput("posctl: error: copying " + name + " to " + dir + ": " + std::strerror(errno));
      }
      done += w;
    }
  }
  return copy;
}

}  // namespace

const char* FormatName(Format format) {
  switch (format) {
    case Format::kNotation:
      return "notation";
    case Format::kTypeA:
      return "typea";
    case Format::kJson:
      return "json";
  }
  return "?";
}

const char* DisplayFormatName(Format format) {
  switch (format) {
    case Format::kNotation:
      return "text notation";
    case Format::kTypeA:
      return "TypeA";
    case Format::kJson:
      return "JSON";
  }
  return "?";
}

std::optional<Format> ParseFormatName(const std::string& name) {
  if (name == "notation") return Format::kNotation;
  if (name == "typea") return Format::kTypeA;
  if (name == "json") return Format::kJson;
  return std::nullopt;
}

InputSource::InputSource(const std::string& argument) {
  struct stat info;
  if (argument == "-") {
    name_ = "<stdin>";
    fd_ = Spool(STDIN_FILENO, "standard input");
  } else {
    name_ = argument;
    fd_.Reset(open(argument.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd_ || fstat(fd_.get(), &info) != 0) FailFile(name_, errno);
    if (S_ISDIR(info.st_mode)) FailInput("posctl: error: " + name_ + ": is a directory");
    regularFile_ = S_ISREG(info.st_mode);
    if (!regularFile_) fd_ = Spool(fd_.get(), name_);
  }
  if (fstat(fd_.get(), &info) != 0) FailFile(name_, errno);
  size_ = static_cast<uint64_t>(info.st_size);
}

InputSource InputSource::FromText(std::string name, std::string text) {
  InputSource input;
  input.name_ = std::move(name);
  input.text_ = std::move(text);
  input.size_ = input.text_.size();
  return input;
}

InputSource InputSource::FromBytes(std::string name, std::shared_ptr<const ByteSource> source,
                                   uint64_t size) {
  InputSource input;
  input.name_ = std::move(name);
  input.bytes_ = std::move(source);
  input.size_ = size;
  return input;
}

ssize_t InputSource::ReadSome(uint64_t offset, void* buffer, size_t size) const {
  if (bytes_ != nullptr) {
    size_t done = 0;
    while (done < size && offset + done < size_) {
      const ssize_t n = bytes_->ReadAt(offset + done, static_cast<char*>(buffer) + done,
                                       std::min<uint64_t>(size - done, size_ - offset - done));
      if (n < 0) return -1;
      if (n == 0) break;
      done += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(done);
  }
  if (!fd_) {
    if (offset >= text_.size()) return 0;
    const size_t count = std::min<uint64_t>(size, text_.size() - offset);
    std::memcpy(buffer, text_.data() + offset, count);
    return static_cast<ssize_t>(count);
  }
  size_t done = 0;
  while (done < size) {
    const ssize_t n = pread(fd_.get(), static_cast<char*>(buffer) + done, size - done,
                            static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return static_cast<ssize_t>(done);
}

std::string InputSource::ReadRange(uint64_t from, uint64_t to) const {
  if (to > size_) to = size_;
  if (from >= to) return "";
  std::string bytes(to - from, '\0');
  const ssize_t n = ReadSome(from, bytes.data(), bytes.size());
  if (n < 0) FailFile(name_, errno);
  bytes.resize(static_cast<size_t>(n));
  return bytes;
}

Format InputSource::Resolve(std::optional<Format> given) const {
  if (given) return *given;
  if (EndsWith(name_, ".pos")) return Format::kNotation;
  if (EndsWith(name_, ".typea")) return Format::kTypeA;
  if (EndsWith(name_, ".json")) return Format::kJson;
  std::string head = ReadRange(0, 127);
  const size_t start = head.find_first_not_of(" \t\n\r");
  if (start == std::string::npos) return Format::kNotation;
  if (head.compare(start, sizeof kTypeAMagic - 1, kTypeAMagic) == 0) return Format::kTypeA;
  if (head[start] == '{' || head[start] == '"') return Format::kJson;
  return Format::kNotation;
}

InputStreamBuf::int_type InputStreamBuf::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  const ssize_t n = input_.ReadSome(nextBlock_, block_, sizeof block_);
  if (n < 0) FailInput("posctl: error: " + input_.name() + ": " + std::strerror(errno));
  if (n == 0) return traits_type::eof();
  blockStart_ = nextBlock_;
  nextBlock_ += static_cast<uint64_t>(n);
  setg(block_, block_, block_ + n);
  return traits_type::to_int_type(*gptr());
}

}  // namespace posctl
