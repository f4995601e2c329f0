// convert: every pair of input and output format on the bundled examples,
// the ways of naming the input format, and output files.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kMagic[] = "POSStreamerTypeA_Version1.0 ";

TEST(Convert, NotationExampleToTypeA) {
  Result result = RunPosctl({"convert", "examples/settings.pos"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  // Exact bytes: no line feed after the object when the output is no terminal.
  ExpectMatchesFile(result.out, "settings.typea");
}

TEST(Convert, JsonExampleToTypeA) {
  Result result = RunPosctl({"convert", "examples/settings.json"});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMatchesFile(result.out, "settings_from_json.typea");
}

TEST(Convert, TypeAToTypeAGivesTheSameBytes) {
  Result result = RunPosctl({"convert", "tests/tools/expected/settings.typea"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, ReadFile(SourcePath("tests/tools/expected/settings.typea")));
}

TEST(Convert, TypeAToJson) {
  Result result = RunPosctl({"convert", "--to", "json", "tests/tools/expected/settings.typea"});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMatchesFile(result.out, "settings.json");
}

// The notation has no form for binary data; apart from that block, and from
// true and false, which are strings in POS, both examples hold the same data.
TEST(Convert, BothExamplesHoldTheSameData) {
  Result fromNotation = RunPosctl({"convert", "--to", "json", "examples/settings.pos"});
  Result fromJson = RunPosctl({"convert", "--to", "json", "examples/settings.json"});
  ASSERT_EQ(fromNotation.status, 0) << fromNotation.err;
  ASSERT_EQ(fromJson.status, 0) << fromJson.err;
  nlohmann::json a = nlohmann::json::parse(fromNotation.out);
  nlohmann::json b = nlohmann::json::parse(fromJson.out);
  ASSERT_TRUE(b["window"].contains("savedLayout"));
  b["window"].erase("savedLayout");
  EXPECT_EQ(a, b);
  EXPECT_GE(a.flatten().size(), 300u) << "the example should be sized like real preferences";
}

TEST(Convert, CompactJsonIsOneLine) {
  Result result =
      RunPosctl({"convert", "--to", "json", "--compact", "tests/tools/data/json/mapping.json"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
  EXPECT_EQ(nlohmann::json::parse(result.out)["ascii"], "plain text");
}

TEST(Convert, StandardInputFormatComesFromTheContent) {
  RunOptions typeA;
  typeA.stdinFile = SourcePath("tests/tools/expected/settings.typea");
  Result fromTypeA = RunPosctl({"convert", "--to", "json", "-"}, typeA);
  EXPECT_EQ(fromTypeA.status, 0) << fromTypeA.err;
  EXPECT_EQ(fromTypeA.out, ReadFile(SourcePath("tests/tools/expected/settings.json")));

  RunOptions json;
  json.stdinFile = SourcePath("examples/settings.json");
  Result fromJson = RunPosctl({"convert", "-"}, json);
  EXPECT_EQ(fromJson.status, 0) << fromJson.err;
  EXPECT_EQ(fromJson.out, ReadFile(SourcePath("tests/tools/expected/settings_from_json.typea")));

  RunOptions notation;
  notation.stdinFile = SourcePath("examples/settings.pos");
  Result fromNotation = RunPosctl({"convert"}, notation);  // no FILE means standard input
  EXPECT_EQ(fromNotation.status, 0) << fromNotation.err;
  EXPECT_EQ(fromNotation.out, ReadFile(SourcePath("tests/tools/expected/settings.typea")));
}

TEST(Convert, FromOverridesTheExtension) {
  const std::string path = TempPath("notation.json");
  WriteFile(path, "<answer 42>");
  EXPECT_EQ(RunPosctl({"convert", path}).status, 1) << "read as JSON by its extension";
  Result result = RunPosctl({"convert", "--from", "notation", path});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, std::string(kMagic) + "<\n\t\"answer\" #42 \n>");
}

TEST(Convert, OutputFileHoldsTheResultAndIsRemovedOnFailure) {
  const std::string out = TempPath("out.typea");
  Result ok = RunPosctl({"convert", "examples/settings.pos", "-o", out});
  EXPECT_EQ(ok.status, 0) << ok.err;
  EXPECT_EQ(ok.out, "");
  EXPECT_EQ(ReadFile(out), ReadFile(SourcePath("tests/tools/expected/settings.typea")));

  const std::string json = TempPath("out.json");
  Result refused = RunPosctl(
      {"convert", "--to", "json", "tests/tools/data/typea/infinity.typea", "--output", json});
  EXPECT_EQ(refused.status, 1);
  EXPECT_FALSE(std::ifstream(json).good()) << "a refused conversion leaves no file behind";
  std::remove(out.c_str());
}

TEST(Convert, SeveralStreamsAreRefusedWithAHintToCat) {
  Result result = RunPosctl({"convert", "tests/tools/data/typea/two_streams.typea"});
  EXPECT_EQ(result.status, 1);
  ExpectMatchesFile(result.err, "convert_two_streams.stderr");
}

}  // namespace
}  // namespace posctl_test
