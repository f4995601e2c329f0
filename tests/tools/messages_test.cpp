// Every message of posctl that a test elsewhere doesn't show, each compared
// with tests/tools/expected/messages/NAME.stderr: the wording, the exit
// status, and that nothing reaches standard output. Edits go to -o -, so
// that the files of the repository are never rewritten.
#include <gtest/gtest.h>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kPos[] = "examples/settings.pos";
constexpr char kJson[] = "examples/settings.json";
constexpr char kTypeA[] = "tests/tools/expected/settings.typea";
constexpr char kTwoStreams[] = "tests/tools/data/typea/two_streams.typea";

TEST(Messages, EachMessageAsExpected) {
  const struct {
    std::string name;
    std::vector<std::string> args;
    int status;
  } cases[] = {
      // The command line.
      {"unknown_command", {"frobnicate", kPos}, 2},
      {"no_command", {"--verbose"}, 2},
      {"unknown_option", {"check", "--bogus", kPos}, 2},
      {"missing_argument", {"set", "a", kPos}, 2},
      {"malformed_address", {"get", "editor.rulers[x]", kPos}, 2},
      {"malformed_pointer", {"get", "-p", "/editor/~2", kPos}, 2},
      {"pointer_without_slash", {"delete", "-p", "editor", kPos, "-o", "-"}, 2},
      {"object_of_json", {"get", "--object", "1", "window", kJson}, 2},
      // Addresses that reach nothing, or can't take a value.
      {"set_missing_parent", {"set", "sync.proxy.host", "x", kPos, "-o", "-"}, 1},
      {"set_key_in_number", {"set", "--parents", "window.width.px", "3", kPos, "-o", "-"}, 1},
      {"set_beyond_end", {"set", "editor.rulers[5]", "1", kJson, "-o", "-"}, 1},
      {"set_no_index", {"set", "-p", "/editor/rulers/x", "1", kTypeA, "-o", "-"}, 1},
      {"delete_nothing", {"delete", "-p", "/editor/rulers/3", kPos, "-o", "-"}, 1},
      {"delete_top_level", {"delete", "-p", "", kPos, "-o", "-"}, 1},
      {"set_subscript_of_dictionary", {"set", "window[0]", "1", kPos, "-o", "-"}, 1},
      {"keys_of_number", {"keys", "window.width", kPos}, 1},
      {"raw_of_dictionary", {"get", "--raw", "window", kJson}, 1},
      {"raw_unpaired_surrogate",
       {"get", "--raw", "list[1]", "tests/tools/data/notation/lone_surrogate.pos"},
       1},
      // Values given to set.
      {"value_syntax", {"set", "a", "[1 (x", kPos, "-o", "-"}, 1},
      {"json_value_syntax", {"set", "--json", "a", "{\"x\": }", kPos, "-o", "-"}, 1},
      {"json_null_into_typea", {"set", "--json", "a", "[null]", kTypeA, "-o", "-"}, 1},
      // Inputs.
      {"input_directory", {"check", "tests/tools/data"}, 1},
      {"no_typea_stream", {"get", "a", "tests/tools/data/typea/blank.typea"}, 1},
      // TypeA files of several objects.
      {"object_beyond", {"get", "--object", "2", "[0]", kTwoStreams}, 1},
      {"several_objects_edit", {"delete", "[0]", kTwoStreams, "-o", "-"}, 1},
      // What text notation can't hold.
      {"notation_binary_data", {"convert", "--to", "notation", kJson}, 1},
      {"notation_long_string",
       {"convert", "--to", "notation", "tests/tools/data/json/long_string.json"},
       1},
      {"notation_big_number",
       {"convert", "--to", "notation", "tests/tools/data/json/big_number.json"},
       1},
      {"notation_long_unicode",
       {"convert", "--to", "notation", "tests/tools/data/json/long_unicode.json"},
       1},
      // Outputs that can't be written.
      {"output_directory", {"convert", kPos, "-o", "tests/tools/data"}, 1},
      {"output_in_missing_directory", {"convert", kPos, "-o", "no/such/dir/out.typea"}, 1},
      {"edit_of_device", {"set", "a", "1", "/dev/null"}, 1},
      // The library's own words, on request.
      {"verbose", {"--verbose", "check", "tests/tools/data/typea/unknown_version.typea"}, 1},
  };
  for (const auto& c : cases) {
    Result result = RunPosctl(c.args);
    EXPECT_EQ(result.status, c.status) << c.name;
    EXPECT_EQ(result.out, "") << c.name;
    ExpectMatchesFile(result.err, "messages/" + c.name + ".stderr");
  }
}

// Messages about places that only exist while the test runs; SCRATCH stands
// for the test's scratch directory in the expected text.
TEST(Messages, AboutTemporaryPlaces) {
  const std::string scratch = ScratchDir();
  ASSERT_EQ(symlink("nowhere.typea", TempPath("dangling.typea").c_str()), 0);
  RunOptions noTmpDir;
  noTmpDir.env = {{"TMPDIR", scratch + "/missing"}};
  noTmpDir.stdinFile = SourcePath(kPos);
  const struct {
    std::string name;
    std::vector<std::string> args;
    RunOptions options;
  } cases[] = {
      {"output_dangling_link", {"convert", kPos, "-o", scratch + "/dangling.typea"}, {}},
      {"stdin_without_tmpdir", {"convert", "-"}, noTmpDir},
  };
  for (const auto& c : cases) {
    Result result = RunPosctl(c.args, c.options);
    EXPECT_EQ(result.status, 1) << c.name;
    for (size_t at; (at = result.err.find(scratch)) != std::string::npos;) {
      result.err.replace(at, scratch.size(), "SCRATCH");
    }
    ExpectMatchesFile(result.err, "messages/" + c.name + ".stderr");
  }
}

}  // namespace
}  // namespace posctl_test
