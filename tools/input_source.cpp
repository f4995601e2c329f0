#include "input_source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "diagnostics.h"

namespace posctl {
namespace {

constexpr char kTypeAMagic[] = "POSStreamerTypeA_Version1.0";

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

std::string SpoolStandardInput() {
  const char* dir = std::getenv("TMPDIR");
  std::string path =
      std::string(dir != nullptr && dir[0] != '\0' ? dir : "/tmp") + "/posctl-stdin.XXXXXX";
  int fd = mkstemp(path.data());
  if (fd < 0)
    FailInput("posctl: error: cannot make a temporary file for standard input: " +
              std::string(std::strerror(errno)));
  char block[1 << 16];
  for (;;) {
    ssize_t n = read(STDIN_FILENO, block, sizeof block);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      close(fd);
      unlink(path.c_str());
      FailInput("posctl: error: reading standard input: " + std::string(std::strerror(errno)));
    }
    if (n == 0) break;
    for (ssize_t done = 0; done < n;) {
      ssize_t w = write(fd, block + done, static_cast<size_t>(n - done));
      if (w < 0 && errno == EINTR) continue;
      if (w < 0) {
        close(fd);
        unlink(path.c_str());
        FailInput("posctl: error: copying standard input: " + std::string(std::strerror(errno)));
      }
      done += w;
    }
  }
  close(fd);
  return path;
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

std::optional<Format> ParseFormatName(const std::string& name) {
  if (name == "notation") return Format::kNotation;
  if (name == "typea") return Format::kTypeA;
  if (name == "json") return Format::kJson;
  return std::nullopt;
}

InputSource::InputSource(const std::string& argument) {
  if (argument == "-") {
    name_ = "<stdin>";
    path_ = SpoolStandardInput();
    temporary_ = true;
  } else {
    name_ = argument;
    path_ = argument;
  }
  struct stat info;
  if (stat(path_.c_str(), &info) != 0) {
    FailInput("posctl: error: " + name_ + ": " + std::strerror(errno));
  }
  if (S_ISDIR(info.st_mode)) FailInput("posctl: error: " + name_ + ": is a directory");
  FILE* probe = std::fopen(path_.c_str(), "rb");
  if (probe == nullptr) FailInput("posctl: error: " + name_ + ": " + std::strerror(errno));
  std::fclose(probe);
  size_ = static_cast<uint64_t>(info.st_size);
}

InputSource::~InputSource() {
  if (temporary_) unlink(path_.c_str());
}

Format InputSource::Resolve(std::optional<Format> given) const {
  if (given) return *given;
  if (EndsWith(name_, ".pos")) return Format::kNotation;
  if (EndsWith(name_, ".typea")) return Format::kTypeA;
  if (EndsWith(name_, ".json")) return Format::kJson;
  std::ifstream in(path_, std::ios::binary);
  char head[128] = {};
  in.read(head, sizeof head - 1);
  const char* at = head;
  while (*at == ' ' || *at == '\t' || *at == '\n' || *at == '\r') ++at;
  if (std::strncmp(at, kTypeAMagic, sizeof kTypeAMagic - 1) == 0) return Format::kTypeA;
  if (*at == '{' || *at == '"') return Format::kJson;
  return Format::kNotation;
}

std::string InputSource::ReadAll() const {
  std::ifstream in(path_, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in && !in.eof()) FailInput("posctl: error: " + name_ + ": cannot read");
  return text.str();
}

}  // namespace posctl
