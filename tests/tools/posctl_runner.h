// Runs the built posctl as a user would, from the project's root, and
// captures what it prints and how it exits.
#ifndef POSCTL_TESTS_POSCTL_RUNNER_H_
#define POSCTL_TESTS_POSCTL_RUNNER_H_

#include <string>
#include <utility>
#include <vector>

namespace posctl_test {

struct Result {
  int status = -1;  // exit status, or 128 + signal
  std::string out;
  std::string err;
  long maxRssKb = 0;
};

struct RunOptions {
  std::string stdinFile = "/dev/null";
  std::vector<std::pair<std::string, std::string>> env;
};

Result RunPosctl(const std::vector<std::string>& args, const RunOptions& options = {});

// A path under the project's root.
std::string SourcePath(const std::string& relative);
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& contents);
// A fresh file name in the test's temporary directory.
std::string TempPath(const std::string& name);

// Compares with tests/tools/expected/NAME. With POSCTL_UPDATE_EXPECTED=1 in
// the environment the file is written instead, for review before commit.
void ExpectMatchesFile(const std::string& actual, const std::string& name);

}  // namespace posctl_test

#endif  // POSCTL_TESTS_POSCTL_RUNNER_H_
