// The command line itself: help, version, exit statuses of bad usage, and a
// library that can't be found.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace posctl_test
