#include "posctl_runner.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace posctl_test {
namespace {

std::string gScratch;

// Removes the scratch directory of each test when it ends.
class ScratchCleaner : public ::testing::EmptyTestEventListener {
  void OnTestEnd(const ::testing::TestInfo&) override {
    if (gScratch.empty()) return;
    std::error_code ignored;
    std::filesystem::remove_all(gScratch, ignored);
    gScratch.clear();
  }
};

[[maybe_unused]] const bool kCleanerInstalled = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new ScratchCleaner);
  return true;
}();

// posctl's TMPDIR for this test: empty before each run.
std::string PosctlTmpDir() {
  const std::string dir = ScratchDir() + "/tmpdir";
  mkdir(dir.c_str(), 0700);
  chmod(dir.c_str(), 01777);  // for runs as another user too
  return dir;
}

int ExitStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// In the child: the descriptors, the environment, the user, then posctl.
[[noreturn]] void ExecPosctl(const std::vector<std::string>& args, const RunOptions& options,
                             int in, int out, int err, const std::string& tmpdir) {
  if (chdir(POSCTL_SOURCE_DIR) != 0 || in < 0 || out < 0 || err < 0) _exit(126);
  dup2(in, 0);
  dup2(out, 1);
  dup2(err, 2);
  setenv("TMPDIR", tmpdir.c_str(), 1);
  for (const auto& [name, value] : options.env) setenv(name.c_str(), value.c_str(), 1);
  if (options.user != 0 && geteuid() == 0) {
    if (setgroups(0, nullptr) != 0 || setgid(options.user) != 0 || setuid(options.user) != 0) {
      _exit(125);
    }
  }
  // The test's own signal dispositions are not posctl's business.
  for (int caught : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) signal(caught, SIG_DFL);
  std::vector<char*> argv;
  std::string program = options.program;
  argv.push_back(program.data());
  std::vector<std::string> copies = args;
  for (std::string& arg : copies) argv.push_back(arg.data());
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(127);
}

void ExpectEmptyTmpDir(const std::string& tmpdir, const std::vector<std::string>& args) {
  const std::vector<std::string> left = ListDir(tmpdir);
  std::string line;
  for (const std::string& arg : args) line += " " + arg;
  EXPECT_TRUE(left.empty()) << "posctl" << line << " left " << left.size()
                            << " file(s) in TMPDIR, the first " << (left.empty() ? "" : left[0]);
  for (const std::string& name : left) std::filesystem::remove_all(tmpdir + "/" + name);
}

}  // namespace

std::string SourcePath(const std::string& relative) {
  return std::string(POSCTL_SOURCE_DIR) + "/" + relative;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& contents) {
  std::ofstream out(path, std::ios::binary);
  out << contents;
}

std::string ScratchDir() {
  if (gScratch.empty()) {
    const char* dir = std::getenv("TMPDIR");
    std::string pattern =
        std::string(dir != nullptr && dir[0] != '\0' ? dir : "/tmp") + "/posctl_test.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      ADD_FAILURE() << "mkdtemp " << pattern << ": " << std::strerror(errno);
      return pattern;
    }
    chmod(pattern.c_str(), 0755);  // reachable by the runs as another user
    char resolved[PATH_MAX];
    gScratch = realpath(pattern.c_str(), resolved) != nullptr ? resolved : pattern;
  }
  return gScratch;
}

std::string TempPath(const std::string& name) {
  return ScratchDir() + "/" + name;
}

std::string MakeDir(const std::string& name) {
  const std::string dir = TempPath(name);
  mkdir(dir.c_str(), 0755);
  return dir;
}

std::vector<std::string> ListDir(const std::string& dir) {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(dir, missing)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Result RunPosctl(const std::vector<std::string>& args, const RunOptions& options) {
  const std::string outPath = TempPath("stdout");
  const std::string errPath = TempPath("stderr");
  const std::string tmpdir = PosctlTmpDir();
  pid_t child = fork();
  if (child == 0) {
    ExecPosctl(args, options, open(options.stdinFile.c_str(), O_RDONLY),
               open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666),
               open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666), tmpdir);
  }
  Result result;
  int status = 0;
  struct rusage usage {};
  wait4(child, &status, 0, &usage);
  result.status = ExitStatus(status);
  result.maxRssKb = usage.ru_maxrss;
  result.out = ReadFile(outPath);
  result.err = ReadFile(errPath);
  unlink(outPath.c_str());
  unlink(errPath.c_str());
  const bool ownTmpDir = std::none_of(options.env.begin(), options.env.end(),
                                      [](const auto& pair) { return pair.first == "TMPDIR"; });
  if (ownTmpDir) ExpectEmptyTmpDir(tmpdir, args);
  return result;
}

RunningPosctl::RunningPosctl(const std::vector<std::string>& args, const std::string& tmpdir,
                             const RunOptions& options) {
  int pipeFds[2];
  if (pipe2(pipeFds, O_CLOEXEC) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    ExecPosctl(args, options, pipeFds[0],
               options.stdoutFd >= 0 ? options.stdoutFd : open("/dev/null", O_WRONLY),
               open("/dev/null", O_WRONLY), tmpdir);
  }
  close(pipeFds[0]);
  stdin_ = pipeFds[1];
}

RunningPosctl::~RunningPosctl() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    Finish();
  }
  if (stdin_ >= 0) close(stdin_);
}

bool RunningPosctl::HoldsFileIn(const std::string& dir) const {
  char resolved[PATH_MAX];
  const std::string prefix = std::string(realpath(dir.c_str(), resolved) ? resolved : "") + "/";
  const std::string fds = "/proc/" + std::to_string(pid_) + "/fd";
  std::error_code gone;
  for (const auto& entry : std::filesystem::directory_iterator(fds, gone)) {
    std::error_code ignored;
    const std::string target = std::filesystem::read_symlink(entry.path(), ignored);
    if (target.compare(0, prefix.size(), prefix) == 0) return true;
  }
  return false;
}

bool RunningPosctl::WaitUntilHoldsFileIn(const std::string& dir) const {
  for (int i = 0; i < 1000; ++i) {
    if (HoldsFileIn(dir)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

int RunningPosctl::Finish() {
  if (stdin_ >= 0) close(stdin_);
  stdin_ = -1;
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return ExitStatus(status);
}

void ExpectMatchesFile(const std::string& actual, const std::string& name) {
  const std::string path = SourcePath("tests/tools/expected/" + name);
  const char* update = std::getenv("POSCTL_UPDATE_EXPECTED");
  if (update != nullptr && std::string(update) == "1") {
    WriteFile(path, actual);
    return;
  }
  std::ifstream probe(path);
  ASSERT_TRUE(probe.good()) << "no expected file " << path;
  EXPECT_EQ(actual, ReadFile(path)) << "differs from " << path;
}

}  // namespace posctl_test
