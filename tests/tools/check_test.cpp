// check: the verdict on well-formed input, and the diagnostics of broken
// input in each format: file:line:column and a caret for text notation and
// JSON, the library's message and the byte offset for TypeA.
#include <gtest/gtest.h>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

TEST(Check, WellFormedInputSaysSoOnStandardOutput) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"examples/settings.pos", "examples/settings.pos: well formed text notation\n"},
      {"examples/settings.json", "examples/settings.json: well formed JSON\n"},
      {"tests/tools/expected/settings.typea",
       "tests/tools/expected/settings.typea: well formed TypeA, 1 object\n"},
      {"tests/tools/data/typea/two_streams.typea",
       "tests/tools/data/typea/two_streams.typea: well formed TypeA, 2 objects\n"},
  };
  for (const auto& [file, verdict] : cases) {
    Result result = RunPosctl({"check", file});
    EXPECT_EQ(result.status, 0) << file << ": " << result.err;
    EXPECT_EQ(result.out, verdict);
    EXPECT_EQ(result.err, "");
  }
}

// Each broken input in tests/tools/data/FORMAT/ with the text posctl prints
// for it in tests/tools/expected/check/NAME.stderr.
void ExpectRefusedAsExpected(const std::string& format, const std::vector<std::string>& names,
                             const std::vector<std::string>& extraArgs = {}) {
  for (const std::string& name : names) {
    std::vector<std::string> args = {"check"};
    args.insert(args.end(), extraArgs.begin(), extraArgs.end());
    args.push_back("tests/tools/data/" + format + "/" + name);
    Result result = RunPosctl(args);
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_EQ(result.out, "") << name;
    ExpectMatchesFile(result.err, "check/" + name + ".stderr");
  }
}

TEST(Check, NotationErrorsShowLineColumnAndCaret) {
  ExpectRefusedAsExpected(
      "notation", {"unclosed_array.pos", "missing_value.pos", "wrong_close.pos", "array_key.pos",
                   "double_quote.pos", "trailing_text.pos", "long_name.pos",
                   "unterminated_string.pos", "empty.pos", "stray_bracket.pos"});
}

TEST(Check, JsonReadAsNotationFailsAtTheFirstComma) {
  ExpectRefusedAsExpected("notation", {"json_text.pos"}, {"--from", "notation"});
}

TEST(Check, TypeAErrorsShowTheLibraryMessageAndByteOffset) {
  ExpectRefusedAsExpected("typea", {"bad_number.typea", "missing_value.typea", "bad_escape.typea",
                                    "unknown_version.typea", "truncated.typea", "raw_pointer.typea",
                                    "bad_second_stream.typea"});
}

TEST(Check, JsonErrorsShowLineColumnAndCaret) {
  ExpectRefusedAsExpected("json", {"syntax.json", "null.json", "nul_char.json", "bad_bindata.json",
                                   "huge_number.json"});
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
