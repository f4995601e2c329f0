// get: values by DeepGet address in every input format; cat: files of
// several TypeA streams.
#include <gtest/gtest.h>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kMagic[] = "POSStreamerTypeA_Version1.0 ";

TEST(Get, ValuesByAddressAsTypeA) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"appearance.fonts[1].family", "\"Book Serif\""},
      {".appearance.fonts[1].size", "#16.5 "},
      {"editor.snippets.quote", "\"she said \\\"call me (later)\\\" and left\""},
      {"application.windowsDataDir", "\"C:\\\\Users\\\\ann\\\\AppData\\\\Roaming\\\\notebook\""},
      {"i18n.currencySymbols.eur", "`20ac`"},
  };
  for (const auto& [address, typeA] : cases) {
    for (const char* file : {"examples/settings.pos", "examples/settings.json"}) {
      Result result = RunPosctl({"get", address, file});
      EXPECT_EQ(result.status, 0) << address << " in " << file << ": " << result.err;
      EXPECT_EQ(result.out, kMagic + typeA) << address << " in " << file;
    }
  }
}

TEST(Get, ValueAsJson) {
  Result result = RunPosctl({"get", "--json", "plugins[2]", "examples/settings.pos"});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMatchesFile(result.out, "get_plugin.json");
  Result binary = RunPosctl({"get", "window.savedLayout", "examples/settings.json", "--json"});
  ASSERT_EQ(binary.status, 0) << binary.err;
  EXPECT_EQ(binary.out.substr(0, 44), "{\n  \"$bindata\": \"WindowLayout\",\n  \"hex\": \"4C");
}

TEST(Get, NothingThereExitsOneAndSaysWhatIsThere) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"appearance.fonts[3]", "'appearance.fonts' is an array of 3 members"},
      {"appearance.fonts[0].colour", "'appearance.fonts[0]' is a dictionary of 4 keys"},
      {"window.width.px", "'window.width' is a number"},
      {"nosuchkey", "the top level is a dictionary of 12 keys"},
  };
  for (const auto& [address, why] : cases) {
    Result result = RunPosctl({"get", address, "examples/settings.pos"});
    EXPECT_EQ(result.status, 1) << address;
    EXPECT_EQ(result.out, "") << address;
    EXPECT_EQ(result.err,
              "posctl: error: examples/settings.pos: nothing at '" + address + "' (" + why + ")\n");
  }
}

// JSON Pointers reach the same values, and keys that DeepGet can't name;
// --raw gives a string's text (or a number's digits) alone, as UTF-8.
TEST(Get, PointersAndRawText) {
  const std::string path = TempPath("keys.json");
  WriteFile(path, R"({"a.b": {"c[0]": "dotted"}, "~/": [10, "\u20ac"]})");
  const std::vector<std::vector<std::string>> cases = {
      {"-p", "/appearance/fonts/1/family", "examples/settings.pos", "\"Book Serif\""},
      {"--raw", "appearance.fonts[1].family", "examples/settings.json", "Book Serif"},
      {"--raw", "i18n.currencySymbols.eur", "examples/settings.pos", "\u20ac"},
      {"--raw", "window.opacity", "examples/settings.json", "0.97"},
      {"-p", "/a.b/c[0]", path, "\"dotted\""},
      {"-p", "/~0~1/0", path, "#10 "},
  };
  for (const auto& c : cases) {
    Result result = RunPosctl({"get", c[0], c[1], c[2]});
    EXPECT_EQ(result.status, 0) << c[1] << ": " << result.err;
    EXPECT_EQ(result.out, (c[0] == "--raw" ? "" : kMagic) + c[3]) << c[1];
  }
  // The empty pointer is the top level, here of the second of two streams.
  Result top = RunPosctl(
      {"get", "--raw", "-p", "", "--object", "1", "tests/tools/data/typea/two_streams.typea"});
  EXPECT_EQ(top.out, "second") << top.err;
}

// Addresses start at a dictionary; an array at the top level is reached with
// a leading subscript.
TEST(Get, TopLevelArrayIsReachedWithASubscript) {
  const std::string path = TempPath("list.pos");
  WriteFile(path, "[<name a> <name b>]");
  Result second = RunPosctl({"get", "[1].name", path});
  EXPECT_EQ(second.status, 0) << second.err;
  EXPECT_EQ(second.out, std::string(kMagic) + "\"b\"");
  Result beyond = RunPosctl({"get", "[2]", path});
  EXPECT_EQ(beyond.status, 1);
  EXPECT_NE(beyond.err.find("the top level is an array of 2 members"), std::string::npos)
      << beyond.err;
}

TEST(Cat, EveryStreamOfAFileOnItsOwnLineUpToABadOne) {
  Result result = RunPosctl({"cat", "tests/tools/data/typea/two_streams.typea"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, std::string(kMagic) + "[\n\t#1 \n]\n" + kMagic + "\"second\"\n");
  Result json =
      RunPosctl({"cat", "--json", "--compact", "tests/tools/data/typea/two_streams.typea"});
  EXPECT_EQ(json.status, 0) << json.err;
  EXPECT_EQ(json.out, "[1]\n\"second\"\n");
  Result bad = RunPosctl({"cat", "tests/tools/data/typea/bad_second_stream.typea"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, std::string(kMagic) + "#1 \n") << "the good ones are printed first";
  ExpectMatchesFile(bad.err, "cat_bad_second_stream.stderr");
  Result empty = RunPosctl({"cat", "-"});
  EXPECT_EQ(empty.status, 0) << empty.err;
  EXPECT_EQ(empty.out, "");
}

TEST(Cat, ItsOwnOutputReadsBack) {
  // Three examples joined, then listed, then the listing listed again.
  const std::string joined = TempPath("joined.typea");
  const std::string settings = ReadFile(SourcePath("tests/tools/expected/settings.typea"));
  const std::string fromJson =
      ReadFile(SourcePath("tests/tools/expected/settings_from_json.typea"));
  WriteFile(joined, settings + fromJson + " " + settings);
  Result first = RunPosctl({"cat", joined});
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.out, settings + "\n" + fromJson + "\n" + settings + "\n");
  const std::string listing = TempPath("listing.typea");
  WriteFile(listing, first.out);
  EXPECT_EQ(RunPosctl({"cat", listing}).out, first.out);
  EXPECT_EQ(RunPosctl({"check", listing}).out, listing + ": well formed TypeA, 3 objects\n");
}

}  // namespace
}  // namespace posctl_test
