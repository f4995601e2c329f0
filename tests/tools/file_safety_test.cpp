// Files that posctl must never lose, and temporary files it must never leave
// behind, whatever happens to the write or to posctl itself.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kSettings[] = "examples/settings.pos";
constexpr uid_t kNobody = 65534;

std::string SettingsTypeA() {
  return ReadFile(SourcePath("tests/tools/expected/settings.typea"));
}

mode_t ModeOf(const std::string& path) {
  struct stat info {};
  lstat(path.c_str(), &info);
  return info.st_mode;
}

// A directory that user nobody may write in: in the scratch directory if
// nobody can reach that, else beside the test. Empty if there is none.
std::string DirectoryForNobody(const RunOptions& nobody) {
  std::string beside = std::filesystem::current_path().string() + "/posctl_test_nobody.XXXXXX";
  for (int attempt = 0; attempt < 2; ++attempt) {
    const std::string dir = attempt == 0 ? MakeDir("shared") : mkdtemp(beside.data()) ? beside : "";
    if (dir.empty()) continue;
    chmod(dir.c_str(), 0777);
    // Proof that posctl, as nobody, could write here: what it is refused
    // later is refused for the file alone.
    if (RunPosctl({"convert", kSettings, "-o", dir + "/writable.typea"}, nobody).status == 0) {
      return dir;
    }
    std::filesystem::remove_all(dir);
  }
  return "";
}

// Refused and left as it was: permission bits stop root from nothing, so
// as root posctl runs as nobody, who may write the directory but not the
// file.
TEST(FileSafety, TargetTheUserMayNotWriteIsRefusedAndKept) {
  RunOptions nobody;
  nobody.user = kNobody;
  const std::string dir = DirectoryForNobody(nobody);
  if (dir.empty())
    GTEST_SKIP() << "posctl can't run as user " << kNobody << " in a directory of its own";
  const std::string target = dir + "/settings.typea";
  WriteFile(target, "keep me");
  chmod(target.c_str(), 0444);
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"convert", kSettings, "-o", target},
        std::vector<std::string>{"set", "a", "1", target}}) {
    Result result = RunPosctl(args, nobody);
    EXPECT_EQ(result.status, 1) << args[0];
    EXPECT_EQ(result.err, "posctl: error: " + target + ": Permission denied\n");
    EXPECT_EQ(ReadFile(target), "keep me");
    EXPECT_EQ(ModeOf(target) & 07777, 0444u);
    EXPECT_EQ(ListDir(dir), (std::vector<std::string>{"settings.typea", "writable.typea"}));
  }
  std::filesystem::remove_all(dir);
}

// A target is replaced by a complete new copy with its permission bits; a
// symbolic link stays and names the new copy. A refused conversion leaves
// the target as it was, and makes no file where there was none.
TEST(FileSafety, ReplacedTargetKeepsItsModeAndLinks) {
  const std::string dir = MakeDir("out");
  const std::string target = dir + "/settings.typea";
  const std::string link = dir + "/link.typea";
  WriteFile(target, "old");
  chmod(target.c_str(), 0604);
  ASSERT_EQ(symlink("settings.typea", link.c_str()), 0);
  Result result = RunPosctl({"convert", kSettings, "-o", link});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(S_ISLNK(ModeOf(link)));
  EXPECT_EQ(ReadFile(target), SettingsTypeA());
  EXPECT_EQ(ModeOf(target) & 07777, 0604u);

  const std::string refused = "tests/tools/data/typea/infinity.typea";
  for (const std::string& out : {target, dir + "/new.json"}) {
    Result json = RunPosctl({"convert", "--to", "json", refused, "-o", out});
    EXPECT_EQ(json.status, 1) << out;
  }
  EXPECT_EQ(ReadFile(target), SettingsTypeA());
  EXPECT_EQ(ListDir(dir), (std::vector<std::string>{"link.typea", "settings.typea"}));
}

// What is no regular file is written directly and never removed: a device
// that takes everything, one that fails every write, a FIFO.
TEST(FileSafety, DevicesAndFifosAreWrittenDirectlyAndKept) {
  EXPECT_EQ(RunPosctl({"convert", kSettings, "-o", "/dev/null"}).status, 0);
  if (S_ISCHR(ModeOf("/dev/full"))) {
    Result full = RunPosctl({"convert", kSettings, "-o", "/dev/full"});
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "posctl: error: /dev/full: No space left on device\n");
    EXPECT_TRUE(S_ISCHR(ModeOf("/dev/full")));
  }
  const std::string fifo = TempPath("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string received;
  std::thread reader([&] {
    int fd = open(fifo.c_str(), O_RDONLY);
    char block[4096];
    for (ssize_t n; (n = read(fd, block, sizeof block)) > 0;) received.append(block, n);
    close(fd);
  });
  Result result = RunPosctl({"convert", kSettings, "-o", fifo});
  close(open(fifo.c_str(), O_WRONLY | O_NONBLOCK));  // frees the reader if posctl never came
  reader.join();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(received, SettingsTypeA());
  EXPECT_TRUE(S_ISFIFO(ModeOf(fifo)));
}

// Whatever signal ends posctl while it copies standard input, with the new
// copy of its output open, nothing is left: neither the copy of the input in
// TMPDIR nor the new copy beside the target, which stays as it was. Files
// with names (where the file system has no unnamed ones) are removed by
// posctl's signal handlers; SIGKILL can't be handled, and only unnamed
// files are safe from it.
TEST(FileSafety, KilledRunsLeaveNothingBehind) {
  int run = 0;
  for (const bool named : {false, true}) {
    for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
      if (named && signal == SIGKILL) continue;
      SCOPED_TRACE(std::string(named ? "named" : "unnamed") + " files, signal " +
                   std::to_string(signal));
      const std::string tmpdir = MakeDir("tmp" + std::to_string(run));
      const std::string outdir = MakeDir("out" + std::to_string(run++));
      const std::string target = outdir + "/settings.typea";
      WriteFile(target, "old");
      RunOptions options;
      if (named) options.env = {{"POSCTL_NAMED_TEMP_FILES", "1"}};
      RunningPosctl posctl({"convert", "-", "-o", target}, tmpdir, options);
      ASSERT_EQ(write(posctl.stdinFd(), "<a ", 3), 3);
      ASSERT_TRUE(posctl.WaitUntilHoldsFileIn(tmpdir) && posctl.WaitUntilHoldsFileIn(outdir));
      EXPECT_EQ(ListDir(outdir).size(), named ? 2u : 1u) << "the new copy has a name or not";
      kill(posctl.pid(), signal);
      EXPECT_EQ(posctl.Finish(), 128 + signal);
      EXPECT_EQ(ListDir(tmpdir), std::vector<std::string>{});
      EXPECT_EQ(ListDir(outdir), std::vector<std::string>{"settings.typea"});
      EXPECT_EQ(ReadFile(target), "old");
    }
  }
}

// posctl convert - | head: the reader goes away, and the next write to
// standard output ends posctl with SIGPIPE.
TEST(FileSafety, ReaderThatGoesAwayLeavesNothingBehind) {
  const std::string tmpdir = MakeDir("tmp");
  int out[2];
  ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
  RunOptions options;
  options.stdoutFd = out[1];
  RunningPosctl posctl({"convert", "--to", "json", "-"}, tmpdir, options);
  close(out[0]);
  close(out[1]);
  const std::string input = ReadFile(SourcePath(kSettings));
  sighandler_t old = signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(write(posctl.stdinFd(), input.data(), input.size()),
            static_cast<ssize_t>(input.size()));
  EXPECT_EQ(posctl.Finish(), 128 + SIGPIPE);
  signal(SIGPIPE, old);
  EXPECT_EQ(ListDir(tmpdir), std::vector<std::string>{});
}

}  // namespace
}  // namespace posctl_test
