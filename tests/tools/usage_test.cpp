// The command line itself: help, version, exit statuses of bad usage, and a
// library that can't be found.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

TEST(Usage, HelpAndVersionExitZero) {
  Result help = RunPosctl({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("Exit status"), std::string::npos) << help.out;
  for (const std::string command :
       {"convert", "get", "keys", "type", "set", "delete", "cat", "check"}) {
    EXPECT_NE(help.out.find(command), std::string::npos) << command;
    Result result = RunPosctl({command, "--help"});
    EXPECT_EQ(result.status, 0) << command;
    EXPECT_NE(result.out.find("Usage: posctl " + command), std::string::npos) << result.out;
  }
  Result version = RunPosctl({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "posctl 1.1.1\nlibMOXUtils 1.1.1 (65793)\n");
}

TEST(Usage, BadUsageExitsTwoWithAMessage) {
  const std::vector<std::vector<std::string>> badLines = {
      {},
      {"frobnicate"},
      {"convert", "--to", "xml", "examples/settings.pos"},
      {"convert", "--from", "yaml", "examples/settings.pos"},
      {"get"},
      {"check", "--max-depth", "0", "examples/settings.pos"},
      {"check", "--max-depth", "100000", "examples/settings.pos"},
      {"check", "--no-such-option", "examples/settings.pos"},
      {"cat", "a.typea", "b.typea"},
      {"set", "a", "examples/settings.pos"},
      {"keys", "a", "b", "examples/settings.pos"},
      {"get", "--raw", "--json", "a", "examples/settings.pos"},
      {"get", "a[1]b", "examples/settings.pos"},
      {"delete", "-p", "a", "examples/settings.pos"},
  };
  for (const auto& args : badLines) {
    Result result = RunPosctl(args);
    std::string line;
    for (const std::string& arg : args) line += arg + " ";
    EXPECT_EQ(result.status, 2) << line;
    EXPECT_EQ(result.err.rfind("posctl: error: ", 0), 0u) << line << ": " << result.err;
    EXPECT_EQ(result.out, "") << line;
  }
}

TEST(Usage, AMissingFileIsBadInputAndAMissingLibraryExitsThree) {
  Result result = RunPosctl({"check", "tests/tools/data/no_such_file.pos"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "posctl: error: tests/tools/data/no_such_file.pos: No such file or directory\n");
  Result edit = RunPosctl({"set", "a", "1", "tests/tools/data/no_such_file.pos"});
  EXPECT_EQ(edit.status, 1);
  EXPECT_EQ(edit.err, result.err);
  RunOptions options;
  options.env = {{"MOXUTILS_LIBRARY", "/nonexistent/libMOXUtils.so"}};
  Result noLibrary = RunPosctl({"check", "examples/settings.pos"}, options);
  EXPECT_EQ(noLibrary.status, 3);
  EXPECT_NE(noLibrary.err.find("cannot load libMOXUtils"), std::string::npos) << noLibrary.err;
  Result version = RunPosctl({"--version"}, options);
  EXPECT_EQ(version.status, 0);
  EXPECT_NE(version.out.find("libMOXUtils not loaded"), std::string::npos) << version.out;
}

// The libMOXUtils a run of posctl loaded, from the dynamic loader's trace.
std::string LoadedLibrary(const std::string& trace) {
  std::smatch match;
  std::regex_search(trace, match, std::regex("file=([^ ]*libMOXUtils[^ ]*) \\[0\\];  dynamically"));
  return match.empty() ? "" : match[1].str();
}

// A copy of posctl moved away from the build tree, as an install puts it:
// it loads the library of its own prefix, unless MOXUTILS_LIBRARY names
// another, and never the build tree's.
TEST(Usage, AMovedCopyLoadsTheLibraryOfItsPrefixUnlessTheEnvironmentNamesOne) {
  namespace fs = std::filesystem;
  const std::string bin = MakeDir("bin");
  const std::string libraryDir = bin + "/" + POSCTL_INSTALLED_LIBRARY_DIR;
  fs::create_directories(libraryDir);
  fs::copy_file(POSCTL_PATH, bin + "/posctl");
  fs::permissions(bin + "/posctl", fs::perms::owner_all);
  const std::string beside = libraryDir + "/libMOXUtils.so.1";
  fs::create_symlink(POSCTL_LIBRARY, beside);
  const std::string named = MakeDir("elsewhere") + "/libMOXUtils.so.1";
  fs::create_symlink(POSCTL_LIBRARY, named);

  RunOptions options;
  options.program = bin + "/posctl";
  options.env = {{"LD_DEBUG", "files"}};
  Result version = RunPosctl({"--version"}, options);
  EXPECT_EQ(version.out, "posctl 1.1.1\nlibMOXUtils 1.1.1 (65793)\n");
  EXPECT_EQ(LoadedLibrary(version.err), beside);
  Result check = RunPosctl({"check", "examples/settings.pos"}, options);
  EXPECT_EQ(check.status, 0);
  EXPECT_EQ(LoadedLibrary(check.err), beside);

  options.env.push_back({"MOXUTILS_LIBRARY", named});
  EXPECT_EQ(LoadedLibrary(RunPosctl({"--version"}, options).err), named);

  // Nothing beside it: whatever the loader may find system-wide, the build
  // tree's copy is out of reach.
  fs::remove(beside);
  options.env = {{"LD_DEBUG", "files"}};
  Result alone = RunPosctl({"--version"}, options);
  const std::string builtDir = fs::path(POSCTL_LIBRARY).parent_path();
  EXPECT_EQ(LoadedLibrary(alone.err).find(builtDir), std::string::npos) << alone.err;
  if (LoadedLibrary(alone.err).empty()) {
    EXPECT_NE(alone.out.find("libMOXUtils not loaded"), std::string::npos) << alone.out;
  }
}

}  // namespace
}  // namespace posctl_test
