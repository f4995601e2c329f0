// convert: every pair of input and output format on the bundled examples,
// the ways of naming the input format, and output files.
#include <gtest/gtest.h>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

// Each conversion, from a file and from standard input, where the format
// comes from the content. TypeA is written exactly: no line feed after the
// object when the output is no terminal.
TEST(Convert, ExamplesInEveryPairOfFormats) {
  const struct {
    std::string input, to, expected;
  } cases[] = {
      {"examples/settings.pos", "typea", "settings.typea"},
      {"examples/settings.json", "typea", "settings_from_json.typea"},
      {"tests/tools/expected/settings.typea", "typea", "settings.typea"},
      {"tests/tools/expected/settings.typea", "json", "settings.json"},
  };
  for (const auto& c : cases) {
    Result result = RunPosctl({"convert", "--to", c.to, c.input});
    ASSERT_EQ(result.status, 0) << c.input << ": " << result.err;
    EXPECT_EQ(result.err, "");
    ExpectMatchesFile(result.out, c.expected);
    RunOptions standardInput;
    standardInput.stdinFile = SourcePath(c.input);
    Result piped = RunPosctl({"convert", "--to", c.to, "-"}, standardInput);
    EXPECT_EQ(piped.status, 0) << c.input << ": " << piped.err;
    EXPECT_EQ(piped.out, result.out) << c.input;
  }
  RunOptions notation;
  notation.stdinFile = SourcePath("examples/settings.pos");
  Result noFile = RunPosctl({"convert"}, notation);  // no FILE means standard input
  EXPECT_EQ(noFile.out, ReadFile(SourcePath("tests/tools/expected/settings.typea")));
}

TEST(Convert, FromOverridesTheExtension) {
  const std::string path = TempPath("notation.json");
  WriteFile(path, "<answer 42>");
  EXPECT_EQ(RunPosctl({"convert", path}).status, 1) << "read as JSON by its extension";
  Result result = RunPosctl({"convert", "--from", "notation", path});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "POSStreamerTypeA_Version1.0 <\n\t\"answer\" #42 \n>");
}

// The notation that posctl writes: what the example reads as, and what reads
// back to the same tree, byte for byte in TypeA.
TEST(Convert, ToNotationReadsBackTheSame) {
  Result notation =
      RunPosctl({"convert", "--to", "notation", "tests/tools/expected/settings.typea"});
  ASSERT_EQ(notation.status, 0) << notation.err;
  ExpectMatchesFile(notation.out, "settings_notation.pos");
  const std::string path = TempPath("back.pos");
  WriteFile(path, notation.out);
  Result back = RunPosctl({"convert", path});
  EXPECT_EQ(back.out, ReadFile(SourcePath("tests/tools/expected/settings.typea"))) << back.err;
}

TEST(Convert, SeveralStreamsAreRefusedWithAHintToCat) {
  Result result = RunPosctl({"convert", "tests/tools/data/typea/two_streams.typea"});
  EXPECT_EQ(result.status, 1);
  ExpectMatchesFile(result.err, "convert_two_streams.stderr");
}

}  // namespace
}  // namespace posctl_test
