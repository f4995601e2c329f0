// The commands of posctl, each run in its own library session.
#ifndef POSCTL_COMMANDS_H_
#define POSCTL_COMMANDS_H_

#include <optional>
#include <string>
#include <vector>

#include "document.h"

namespace posctl {

struct ConvertOptions {
  InputOptions input;
  Format to = Format::kTypeA;
  std::string output = "-";
  bool compact = false;
};

// The address options that get, keys, type, set and delete share.
struct AddressOptions {
  std::string address;
  bool pointer = false;  // a JSON Pointer rather than a DeepGet address
};

struct GetOptions {
  InputOptions input;
  AddressOptions at;
  bool json = false;
  bool compact = false;
  bool raw = false;
};

// keys and type: the address is the top level when none is given.
struct InspectOptions {
  InputOptions input;
  std::optional<AddressOptions> at;
};

struct SetOptions {
  InputOptions input;
  AddressOptions at;
  std::string value;
  bool valueIsJson = false;
  bool parents = false;
  std::optional<std::string> output;  // FILE itself when not given
};

struct DeleteOptions {
  InputOptions input;
  AddressOptions at;
  std::optional<std::string> output;
};

struct CatOptions {
  InputOptions input;
  bool json = false;
  bool compact = false;
};

struct CheckOptions {
  InputOptions input;  // all but the file
  std::vector<std::string> files;
};

struct ValidateOptions {
  InputOptions input;  // how the files are read; all but the file
  std::string schema;
  std::string type;
  size_t jobs = 1;
  std::vector<std::string> files;
};

struct CheckSchemaOptions {
  std::string schema;
  size_t maxDepth = kDefaultMaxDepth;
  bool strict = false;
  bool raw = false;
};

struct ExplainOptions {
  std::string schema;
  std::string type;
  AddressOptions at;
  size_t maxDepth = kDefaultMaxDepth;
};

// Each returns the exit status, or throws ToolError.
int RunConvert(const ConvertOptions& options);
int RunGet(const GetOptions& options);
int RunKeys(const InspectOptions& options);
int RunType(const InspectOptions& options);
int RunSet(const SetOptions& options);
int RunDelete(const DeleteOptions& options);
int RunCat(const CatOptions& options);
int RunCheck(const CheckOptions& options);
int RunValidate(const ValidateOptions& options);
int RunCheckSchema(const CheckSchemaOptions& options);
int RunExplain(const ExplainOptions& options);

}  // namespace posctl

#endif  // POSCTL_COMMANDS_H_
