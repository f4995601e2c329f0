// set and delete on files of each format, rewritten in place in their own
// format; keys and type, which look before an edit.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kMagic[] = "POSStreamerTypeA_Version1.0 ";

// The same edits on the example in each format, each checked with get; the
// file keeps its format, its permission bits and its directory to itself.
TEST(Edit, SetAndDeleteRewriteEachFormatInPlace) {
  const std::string typeA = ReadFile(SourcePath("tests/tools/expected/settings.typea"));
  const std::vector<std::pair<std::string, std::string>> files = {
      {"settings.pos", ReadFile(SourcePath("examples/settings.pos"))},
      {"settings.json", ReadFile(SourcePath("examples/settings.json"))},
      {"settings.typea", typeA}};
  const struct {
    std::vector<std::string> edit;
    std::string address, json;  // get --json --compact ADDRESS afterwards
  } steps[] = {
      {{"set", "window.width", "1024"}, "window.width", "1024"},
      {{"set", "--parents", "sync.proxy.host", "(proxy.example.org)"},
       "sync.proxy",
       R"({"host":"proxy.example.org"})"},
      {{"set", "editor.rulers[3]", "132"}, "editor.rulers", "[80,100,120,132]"},
      {{"set", "-p", "/editor/rulers/0", "<width 72>"}, "editor.rulers[0]", R"({"width":72})"},
      {{"set", "-p", "/editor/rulers/-", "[]"}, "editor.rulers[4]", "[]"},
      {{"delete", "editor.rulers[1]"}, "editor.rulers", R"([{"width":72},120,132,[]])"},
      {{"set", "--json", "-p", "/a.b", R"({"c[0]": "\u20ac"})"}, "[0]", ""},
      {{"delete", "appearance"}, "appearance", ""},
  };
  for (const auto& [name, contents] : files) {
    const std::string dir = MakeDir("edits");
    const std::string path = dir + "/" + name;
    WriteFile(path, contents);
    chmod(path.c_str(), 0640);
    for (const auto& step : steps) {
      std::vector<std::string> args = step.edit;
      args.push_back(path);
      Result edit = RunPosctl(args);
      ASSERT_EQ(edit.status, 0) << name << " " << args[1] << ": " << edit.err;
      EXPECT_EQ(edit.out + edit.err, "");
      if (step.json.empty()) continue;
      Result get = RunPosctl({"get", "--json", "--compact", step.address, path});
      EXPECT_EQ(get.out, step.json + "\n") << name << " " << step.address << ": " << get.err;
    }
    Result dotted = RunPosctl({"get", "--raw", "-p", "/a.b/c[0]", path});
    EXPECT_EQ(dotted.out, "\u20ac") << name << ": " << dotted.err;
    EXPECT_EQ(RunPosctl({"get", "appearance", path}).status, 1) << name;
    EXPECT_EQ(RunPosctl({"check", path}).status, 0) << name;
    struct stat info;
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u) << name;
    EXPECT_EQ(ListDir(dir), std::vector<std::string>{name});
    const std::string edited = ReadFile(path);
    if (name == "settings.typea") {
      EXPECT_EQ(edited.rfind(kMagic, 0), 0u);
    }
    if (name == "settings.pos") {
      EXPECT_EQ(edited.rfind("<\n\t(a.b) <\n\t\t(c[0]) `20AC`\n\t>\n\tapplication <\n", 0), 0u)
          << edited;
    }
    std::filesystem::remove_all(dir);
  }
}

// What an edit of a JSON file doesn't touch comes back as it was read:
// booleans stay booleans and nulls null, long integers keep their digits
// (only the order of keys and the layout are posctl's).
TEST(Edit, JsonKeepsWhatTheEditDoesntTouch) {
  const std::string path = TempPath("kept.json");
  WriteFile(path, R"({"on": true, "off": false, "none": null, "id": 9007199254740993, "n": 1})");
  Result edit = RunPosctl({"set", "--json", "n", "[true, null]", path});
  ASSERT_EQ(edit.status, 0) << edit.err;
  EXPECT_EQ(edit.err, "") << "no warning: the long integer keeps its text";
  EXPECT_EQ(ReadFile(path),
            "{\n  \"id\": 9007199254740993,\n  \"n\": [\n    true,\n    null\n  ],\n"
            "  \"none\": null,\n  \"off\": false,\n  \"on\": true\n}\n");
}

// An edit of standard input goes to standard output; -o writes elsewhere and
// leaves FILE alone; --object edits one stream of several and keeps the
// bytes of the others.
TEST(Edit, OutputsAndOneOfSeveralStreams) {
  RunOptions standardInput;
  standardInput.stdinFile = SourcePath("tests/tools/data/typea/two_streams.typea");
  Result piped = RunPosctl({"set", "--object", "1", "-p", "", "(third)", "-"}, standardInput);
  EXPECT_EQ(piped.status, 0) << piped.err;
  EXPECT_EQ(piped.out, std::string(kMagic) + "[\n\t#1 \n]\n" + kMagic + "\"third\"");

  const std::string source = TempPath("two.typea");
  const std::string original = ReadFile(standardInput.stdinFile);
  WriteFile(source, original);
  const std::string out = TempPath("out.typea");
  Result elsewhere = RunPosctl({"delete", "--object", "0", "[0]", source, "-o", out});
  EXPECT_EQ(elsewhere.status, 0) << elsewhere.err;
  EXPECT_EQ(ReadFile(source), original);
  EXPECT_EQ(ReadFile(out), std::string(kMagic) + "[\n]\n" + kMagic + "\"second\"");
}

TEST(Inspect, KeysAndTypeInEachFormat) {
  const struct {
    std::vector<std::string> args;
    std::string out;
  } cases[] = {
      {{"keys", "appearance.fonts[0]", "examples/settings.pos"}, "family\nrole\nsize\nweight\n"},
      {{"keys", "-p", "/editor/rulers", "examples/settings.json"}, "0\n1\n2\n"},
      {{"keys", "--null-as", "-", "tests/tools/data/json/null.json"}, "settings\n"},
      {{"type", "examples/settings.json"}, "a dictionary of 12 keys\n"},
      {{"type", "window.savedLayout", "examples/settings.json"},
       "binary data of 96 bytes, type 'WindowLayout'\n"},
      {{"type", "appearance.fonts[1].family", "tests/tools/expected/settings.typea"},
       "a string of 10 bytes\n"},
      {{"type", "i18n.currencySymbols.gbp", "examples/settings.pos"},
       "a Unicode string of 12 units\n"},
      {{"type", "-p", "/window/width", "examples/settings.pos"}, "a number\n"},
      {{"type", "--object", "0", "[0]", "tests/tools/data/typea/two_streams.typea"}, "a number\n"},
  };
  for (const auto& c : cases) {
    Result result = RunPosctl(c.args);
    EXPECT_EQ(result.status, 0) << c.args[1] << ": " << result.err;
    EXPECT_EQ(result.out, c.out) << c.args[1];
  }
}

}  // namespace
}  // namespace posctl_test
