// The JSON mapping both ways: what each JSON value becomes in POS (seen in
// the TypeA that posctl writes), and what comes back, on small inputs made
// for each point and on the shared corpus.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kMapping[] = "tests/tools/data/json/mapping.json";

// What each JSON value becomes, seen in the TypeA that posctl writes, and
// the same JSON back but for booleans, which POS keeps as strings; an object
// with keys besides the two of binary data stays a dictionary.
TEST(JsonMapping, BothWays) {
  Result result = RunPosctl({"convert", kMapping});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  ExpectMatchesFile(result.out, "mapping.typea");
  // The points of the mapping, each in its TypeA form, worked out by hand.
  const std::vector<std::string> forms = {
      "\"latin1\" \"Gr\\374\\337e, Zo\\353\"",                // one byte per character
      "\"astral\" `006e006f0074006500730020D83dDCdd`",        // a surrogate pair
      "\"flags\" [\n\t\t\"true\"\n\t\t\"false\"\n\t]",        // booleans are strings
      "\"blob\" {\"Thumbnail\" #6  \n\t\t00017F80FFAB\n\t}",  // binary data
      "\"\\320\\272\\320\\273\\321\\216\\321\\207\" ",        // a key keeps its UTF-8 bytes
      "#-0 ",                                                 // -0.0 keeps its sign
  };
  for (const std::string& form : forms) {
    EXPECT_NE(result.out.find(form), std::string::npos) << form;
  }
  const std::string path = TempPath("mapping.typea");
  WriteFile(path, result.out);
  Result back = RunPosctl({"convert", "--to", "json", path});
  ASSERT_EQ(back.status, 0) << back.err;
  ExpectMatchesFile(back.out, "mapping_back.json");
  nlohmann::json original = nlohmann::json::parse(ReadFile(SourcePath(kMapping)));
  original["flags"] = {"true", "false"};
  original["blob"]["hex"] = "00017F80FFAB";  // hexadecimal digits come back in capitals
  EXPECT_EQ(nlohmann::json::parse(back.out), original);
}

// Refused without --null-as, as the check tests show.
TEST(JsonMapping, NullIsAStringWhenNamed) {
  Result named =
      RunPosctl({"get", "--null-as", "none", "settings.proxy", "tests/tools/data/json/null.json"});
  EXPECT_EQ(named.status, 0) << named.err;
  EXPECT_EQ(named.out, "POSStreamerTypeA_Version1.0 \"none\"");
}

TEST(JsonMapping, IntegersBeyond2To53AreReportedOncePerInput) {
  Result result = RunPosctl(
      {"convert", "--to", "json", "--compact", "tests/tools/data/json/big_integers.json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err,
            "posctl: warning: tests/tools/data/json/big_integers.json: integers beyond 2^53 change "
            "on the way in, since every POS number is a double; the first is at 'ids[1]': "
            "9007199254740993 becomes 9007199254740992\n");
  EXPECT_EQ(result.out,
            "{\"ids\":[9007199254740992,9007199254740992,1.8446744073709552e+19,"
            "1.2345678901234568e+29]}\n");
}

TEST(JsonMapping, ValuesWithoutJsonFormAreRefusedBeforeAnythingIsWritten) {
  Result infinity = RunPosctl({"convert", "--to", "json", "tests/tools/data/typea/infinity.typea"});
  EXPECT_EQ(infinity.status, 1);
  EXPECT_EQ(infinity.out, "");
  EXPECT_EQ(infinity.err,
            "posctl: error: tests/tools/data/typea/infinity.typea: infinity at 'big' has no JSON "
            "form\n");

  const std::string lone = TempPath("lone.pos");
  WriteFile(lone, "<list [ok `0041D800`]>");
  Result surrogate = RunPosctl({"convert", "--to", "json", lone});
  EXPECT_EQ(surrogate.status, 1);
  EXPECT_EQ(surrogate.out, "");
  EXPECT_EQ(surrogate.err, "posctl: error: " + lone +
                               ": an unpaired surrogate (unit 1) of a Unicode string at "
                               "'list[1]' has no JSON form\n");
}

// Real data from ../shared/corpus, read in place where the folder exists:
// each JSON file goes JSON -> TypeA -> JSON and comes back equal, and the
// JSON checker files are accepted or refused as they are marked.
const std::string kCorpus = POSCTL_CORPUS_DIR;
constexpr char kNullAs[] = "(null)";

// The names of the JSON files in `dir`, sorted; none if it is missing.
std::vector<std::string> JsonFilesIn(const std::string& dir) {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(dir, missing)) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// The JSON that comes back after the mapping: true, false and null as the
// strings that stand for them, and every number as the double nearest to it.
nlohmann::json AfterMapping(const nlohmann::json& original) {
  if (original.is_null()) return kNullAs;
  if (original.is_boolean()) return original.get<bool>() ? "true" : "false";
  if (original.is_number()) return original.get<double>();
  nlohmann::json mapped = original;
  if (original.is_structured()) {
    for (auto it = mapped.begin(); it != mapped.end(); ++it) *it = AfterMapping(*it);
  }
  return mapped;
}

TEST(Corpus, EachJsonFileComesBackEqualThroughTypeA) {
  const std::vector<std::string> files = JsonFilesIn(kCorpus);
  if (files.empty()) GTEST_SKIP() << "no corpus at " << kCorpus;
  for (const std::string& name : files) {
    SCOPED_TRACE(name);
    const std::string typeA = TempPath(name + ".typea");
    Result in = RunPosctl({"convert", "--null-as", kNullAs, kCorpus + "/" + name, "-o", typeA});
    ASSERT_EQ(in.status, 0) << in.err;
    Result out = RunPosctl({"convert", "--to", "json", typeA});
    ASSERT_EQ(out.status, 0) << out.err;
    const nlohmann::json expected =
        AfterMapping(nlohmann::json::parse(ReadFile(kCorpus + "/" + name)));
    const nlohmann::json back = nlohmann::json::parse(out.out);
    EXPECT_TRUE(back == expected) << nlohmann::json::diff(expected, back).dump().substr(0, 400);
    std::remove(typeA.c_str());
  }
}

// The files marked _EXCLUDE are disputed cases (a bare string at the top,
// nesting past twenty levels), which posctl accepts.
TEST(Corpus, JsonCheckerFilesAreAcceptedOrRefusedAsMarked) {
  const std::string dir = kCorpus + "/jsonchecker";
  const std::vector<std::string> files = JsonFilesIn(dir);
  if (files.empty()) GTEST_SKIP() << "no corpus at " << dir;
  for (const std::string& name : files) {
    const std::string path = dir + "/" + name;
    Result result = RunPosctl({"check", "--null-as", kNullAs, path});
    if (name.rfind("pass", 0) == 0 || name.find("_EXCLUDE") != std::string::npos) {
      EXPECT_EQ(result.status, 0) << name << ": " << result.err;
      EXPECT_EQ(result.err, "") << name;
    } else {
      EXPECT_EQ(result.status, 1) << name;
      EXPECT_EQ(result.out, "") << name;
      EXPECT_NE(result.err.find(path + ":1:"), std::string::npos) << result.err;
      EXPECT_NE(result.err.find("error: syntax error"), std::string::npos) << result.err;
    }
  }
}

}  // namespace
}  // namespace posctl_test
