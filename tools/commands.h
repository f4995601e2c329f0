// The four commands of posctl, each run in its own library session.
#ifndef POSCTL_COMMANDS_H_
#define POSCTL_COMMANDS_H_

#include <cstddef>
#include <optional>
#include <string>

#include "input_source.h"

namespace posctl {

// Deep enough for any real settings tree, and well inside the default 8 MiB
// stack for the library's recursive reader, writer and parser.
constexpr size_t kDefaultMaxDepth = 512;

struct InputOptions {
  std::string file = "-";
  std::optional<Format> from;
  size_t maxDepth = kDefaultMaxDepth;
  std::optional<std::string> nullAs;
};

struct ConvertOptions {
  InputOptions input;
  Format to = Format::kTypeA;
  std::string output;  // empty for standard output
  bool compact = false;
};

struct GetOptions {
  InputOptions input;
  std::string address;
  bool json = false;
  bool compact = false;
};

struct CatOptions {
  InputOptions input;
  bool json = false;
  bool compact = false;
};

// Each returns the exit status, or throws ToolError.
int RunConvert(const ConvertOptions& options);
int RunGet(const GetOptions& options);
int RunCat(const CatOptions& options);
int RunCheck(const InputOptions& options);

}  // namespace posctl

#endif  // POSCTL_COMMANDS_H_
