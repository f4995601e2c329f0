// Runs the built posctl as a user would, from the project's root, and
// captures what it prints and how it exits.
//
// Each test works in a scratch directory of its own under $TMPDIR, removed
// when the test ends. Every run of posctl gets a fresh, empty TMPDIR inside
// it, which must still be empty when posctl is done: no run leaves a
// temporary file behind.
#ifndef POSCTL_TESTS_POSCTL_RUNNER_H_
#define POSCTL_TESTS_POSCTL_RUNNER_H_

#include <sys/types.h>

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
  // Run as this user and group instead, when the test runs as root.
  uid_t user = 0;
  // RunningPosctl only: standard output goes here instead of /dev/null.
  int stdoutFd = -1;
  // Another copy of posctl to run instead of the built one.
  std::string program = POSCTL_PATH;
};

Result RunPosctl(const std::vector<std::string>& args, const RunOptions& options = {});

// posctl started with a pipe on its standard input, for tests that stop it
// half way. The destructor kills it if it still runs.
class RunningPosctl {
 public:
  RunningPosctl(const std::vector<std::string>& args, const std::string& tmpdir,
                const RunOptions& options = {});
  ~RunningPosctl();

  int stdinFd() const { return stdin_; }
  pid_t pid() const { return pid_; }
  // True once posctl holds a file (named or not) in `dir` open.
  bool HoldsFileIn(const std::string& dir) const;
  // Waits up to ten seconds for HoldsFileIn.
  bool WaitUntilHoldsFileIn(const std::string& dir) const;
  // Closes standard input and waits: the exit status, or 128 + signal.
  int Finish();

 private:
  pid_t pid_ = -1;
  int stdin_ = -1;
};

// A path under the project's root.
std::string SourcePath(const std::string& relative);
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& contents);
// The test's scratch directory, made on first use.
std::string ScratchDir();
// A path in the test's scratch directory.
std::string TempPath(const std::string& name);
// A new empty directory in the scratch directory.
std::string MakeDir(const std::string& name);
// The names in a directory, sorted, hidden ones included.
std::vector<std::string> ListDir(const std::string& dir);

// Compares with tests/tools/expected/NAME. With POSCTL_UPDATE_EXPECTED=1 in
// the environment the file is written instead, for review before commit.
void ExpectMatchesFile(const std::string& actual, const std::string& name);

}  // namespace posctl_test

#endif  // POSCTL_TESTS_POSCTL_RUNNER_H_
