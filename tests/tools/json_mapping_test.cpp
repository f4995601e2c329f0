// The JSON mapping both ways: what each JSON value becomes in POS (seen in
// the TypeA that posctl writes), and what comes back.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kMapping[] = "tests/tools/data/json/mapping.json";

TEST(JsonMapping, WayInAsTypeA) {
  Result result = RunPosctl({"convert", kMapping});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  ExpectMatchesFile(result.out, "mapping.typea");
  // The points of the mapping, each in its TypeA form.
  const std::vector<std::string> forms = {
      "\"latin1\" \"Gr\\374\\337e, Zo\\353\"",                   // one byte per character
      "\"unicode\" `041f04400438043204350442002c00204E16754c`",  // UTF-16
      "\"astral\" `006e006f0074006500730020D83dDCdd`",           // a surrogate pair
      "\"flags\" [\n\t\t\"true\"\n\t\t\"false\"\n\t]",           // booleans are strings
      "\"blob\" {\"Thumbnail\" #6  \n\t\t00017F80FFAB\n\t}",     // binary data
      "\"empty\" {\"\" #0  \n\t}",
      "\"\\320\\272\\320\\273\\321\\216\\321\\207\" ",  // a key keeps its UTF-8 bytes
      "#-0 ",                                           // -0.0 keeps its sign
  };
  for (const std::string& form : forms) {
    EXPECT_NE(result.out.find(form), std::string::npos) << form;
  }
}

TEST(JsonMapping, WayBackGivesTheSameJsonButForBooleans) {
  Result typeA = RunPosctl({"convert", kMapping});
  ASSERT_EQ(typeA.status, 0) << typeA.err;
  const std::string path = TempPath("mapping.typea");
  WriteFile(path, typeA.out);
  Result back = RunPosctl({"convert", "--to", "json", path});
  ASSERT_EQ(back.status, 0) << back.err;
  ExpectMatchesFile(back.out, "mapping_back.json");

  nlohmann::json original = nlohmann::json::parse(ReadFile(SourcePath(kMapping)));
  original["flags"] = {"true", "false"};
  original["blob"]["hex"] = "00017F80FFAB";  // hexadecimal digits come back in capitals
  EXPECT_EQ(nlohmann::json::parse(back.out), original);
}

TEST(JsonMapping, NullIsRefusedUnlessNamed) {
  Result refused = RunPosctl({"convert", "tests/tools/data/json/null.json"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("null at 'settings.proxy' has no POS form"), std::string::npos)
      << refused.err;

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
            "tests/tools/data/json/big_integers.json: warning: integers beyond 2^53 change on the "
            "way in, since every POS number is a double; the first is at 'ids[1]': "
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
            "tests/tools/data/typea/infinity.typea: error: infinity at 'big' has no JSON form\n");

  const std::string lone = TempPath("lone.pos");
  WriteFile(lone, "<list [ok `0041D800`]>");
  Result surrogate = RunPosctl({"convert", "--to", "json", lone});
  EXPECT_EQ(surrogate.status, 1);
  EXPECT_EQ(surrogate.out, "");
  EXPECT_EQ(surrogate.err, lone +
                               ": error: an unpaired surrogate (unit 1) of a Unicode string at "
                               "'list[1]' has no JSON form\n");
}

TEST(JsonMapping, AnObjectWithMoreThanTheTwoKeysStaysADictionary) {
  Result result = RunPosctl({"get", "--json", "--compact", "notBinData", kMapping});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "{\"$bindata\":\"X\",\"extra\":1,\"hex\":\"00\"}\n");
}

}  // namespace
}  // namespace posctl_test
