// check: the verdict on well-formed input, and the diagnostics of broken
// input in each format: file:line:column, the line and a caret.
#include <gtest/gtest.h>

#include <tuple>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

// Several files in one run, each reported; null is well formed JSON, and a
// note says what it takes to read it. -q leaves the exit status alone.
TEST(Check, EachFileIsReportedAndQuietSaysNothing) {
  const std::vector<std::string> files = {
      "examples/settings.pos", "examples/settings.json", "tests/tools/expected/settings.typea",
      "tests/tools/data/typea/two_streams.typea", "tests/tools/data/json/null.json"};
  Result result = RunPosctl({"check", files[0], files[1], files[2], files[3], files[4]});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, files[0] + ": well formed text notation\n" + files[1] +
                            ": well formed JSON\n" + files[2] + ": well formed TypeA, 1 object\n" +
                            files[3] + ": well formed TypeA, 2 objects\n" + files[4] +
                            ": well formed JSON\n");
  ExpectMatchesFile(result.err, "check/null.json.stderr");

  const std::string broken = "tests/tools/data/notation/empty.pos";
  Result mixed = RunPosctl({"check", files[0], broken, files[1]});
  EXPECT_EQ(mixed.status, 1);
  EXPECT_EQ(mixed.out,
            files[0] + ": well formed text notation\n" + files[1] + ": well formed JSON\n");
  EXPECT_EQ(mixed.err, ReadFile(SourcePath("tests/tools/expected/check/empty.pos.stderr")));
  for (const auto& [file, status] : {std::pair{files[4], 0}, std::pair{broken, 1}}) {
    Result quiet = RunPosctl({"check", "-q", files[0], file});
    EXPECT_EQ(quiet.status, status) << file;
    EXPECT_EQ(quiet.out + quiet.err, "") << file;
  }
}

// Each broken input in tests/tools/data/ with the text posctl prints for it
// in tests/tools/expected/check/NAME.stderr.
TEST(Check, BrokenInputExitsOneWithItsDiagnostic) {
  const std::vector<std::string> files = {
      "notation/unclosed_array.pos",
      "notation/missing_value.pos",
      "notation/wrong_close.pos",
      "notation/array_key.pos",
      "notation/double_quote.pos",
      "notation/trailing_text.pos",
      "notation/long_name.pos",
      "notation/unterminated_string.pos",
      "notation/empty.pos",
      "notation/stray_bracket.pos",
      "notation/json_text.pos",     // JSON read as notation fails at the first comma
      "notation/control_char.pos",  // control bytes are shown escaped
      "typea/bad_number.typea",
      "typea/missing_value.typea",
      "typea/bad_escape.typea",
      "typea/unknown_version.typea",
      "typea/truncated.typea",
      "typea/raw_pointer.typea",
      "typea/bad_second_stream.typea",
      "typea/control_in_version.typea",
      "json/syntax.json",
      "json/nul_char.json",
      "json/nul_after_number.json",  // a NUL byte is no end of the input
      "json/nul_inside.json",
      "json/bad_bindata.json",
      "json/huge_number.json"};
  for (const std::string& file : files) {
    Result result = RunPosctl({"check", "tests/tools/data/" + file});
    EXPECT_EQ(result.status, 1) << file;
    EXPECT_EQ(result.out, "") << file;
    ExpectMatchesFile(result.err, "check/" + file.substr(file.find('/') + 1) + ".stderr");
  }
}

// The caret stands where the library's parser stopped: it is checked here
// against positions worked out by hand, not only against recorded output.
TEST(Check, CaretColumnIsWhereTheParserStopped) {
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"[1 2 3", ":1:7: ", "      ^"},             // end of text
      {"<a 1 b 2 c>", ":1:12: ", "           ^"},  // one past the '>' with no value
      {"[1 2 {]", ":1:6: ", "     ^"},             // on the character that starts nothing
      {"<(k) 1 2 3>", ":1:9: ", "        ^"},      // one past the number used as a key
      {"\t\t[x\n\t\ty}", ":2:4: ", "\t\t ^"},      // tabs kept in the caret line
  };
  for (const auto& [text, place, caret] : cases) {
    const std::string path = TempPath("caret.pos");
    WriteFile(path, text);
    Result result = RunPosctl({"check", path});
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_EQ(result.err.substr(0, path.size() + place.size()), path + place) << result.err;
    const size_t lastLine = result.err.rfind('\n', result.err.size() - 2);
    EXPECT_EQ(result.err.substr(lastLine + 1), "    " + caret + "\n") << result.err;
  }
}

}  // namespace
}  // namespace posctl_test
