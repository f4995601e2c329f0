#include "posctl_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace posctl_test {

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

std::string TempPath(const std::string& name) {
  const char* dir = std::getenv("TMPDIR");
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  return std::string(dir != nullptr ? dir : "/tmp") + "/posctl_test_" + std::to_string(getpid()) +
         "_" + test->name() + "_" + name;
}

Result RunPosctl(const std::vector<std::string>& args, const RunOptions& options) {
  const std::string outPath = TempPath("stdout");
  const std::string errPath = TempPath("stderr");
  pid_t child = fork();
  if (child == 0) {
    if (chdir(POSCTL_SOURCE_DIR) != 0) _exit(126);
    int in = open(options.stdinFile.c_str(), O_RDONLY);
    int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0 || err < 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    for (const auto& [name, value] : options.env) setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> argv;
    std::string program = POSCTL_PATH;
    argv.push_back(program.data());
    std::vector<std::string> copies = args;
    for (std::string& arg : copies) argv.push_back(arg.data());
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  Result result;
  int status = 0;
  struct rusage usage {};
  wait4(child, &status, 0, &usage);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.maxRssKb = usage.ru_maxrss;
  result.out = ReadFile(outPath);
  result.err = ReadFile(errPath);
  unlink(outPath.c_str());
  unlink(errPath.c_str());
  return result;
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
