// check: the verdict on well-formed input, and the diagnostics of broken
// input in each format: file:line:column and a caret for text notation and
// JSON, the library's message and the byte offset for TypeA.
#include <gtest/gtest.h>

#include <tuple>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

TEST(Check, WellFormedInputSaysSoOnStandardOutput) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"examples/settings.pos", "well formed text notation"},
      {"examples/settings.json", "well formed JSON"},
      {"tests/tools/expected/settings.typea", "well formed TypeA, 1 object"},
      {"tests/tools/data/typea/two_streams.typea", "well formed TypeA, 2 objects"},
  };
  for (const auto& [file, verdict] : cases) {
    Result result = RunPosctl({"check", file});
    EXPECT_EQ(result.status, 0) << file << ": " << result.err;
    EXPECT_EQ(result.out, file + ": " + verdict + "\n");
    EXPECT_EQ(result.err, "");
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
      "notation/json_text.pos",  // JSON read as notation fails at the first comma
      "typea/bad_number.typea",
      "typea/missing_value.typea",
      "typea/bad_escape.typea",
      "typea/unknown_version.typea",
      "typea/truncated.typea",
      "typea/raw_pointer.typea",
      "typea/bad_second_stream.typea",
      "json/syntax.json",
      "json/null.json",
      "json/nul_char.json",
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
