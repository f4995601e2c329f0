// validate, check-schema and explain end to end: located faults in each
// format, standard input, several objects in one TypeA file, --jobs equal
// to one job, the schema check's default view and --strict, and each exit
// status. Whole runs are compared with tests/tools/expected/validate/.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

const std::string kData = "tests/tools/data/validate/";
const std::string kSchema = kData + "schema.pos";

// Faults at several depths, as values, keys and brackets, in notation, JSON
// and TypeA, then a valid file; and the objects of a TypeA file one by one.
TEST(Validate, EveryFaultIsLocatedInEachFormat) {
  Result result = RunPosctl({"validate", "--schema", kSchema, "--type", "Root",
                             kData + "faults.pos", kData + "faults.json", kData + "valid.pos"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, kData + "valid.pos: valid\n");
  ExpectMatchesFile(result.err, "validate/faults.stderr");

  Result objects =
      RunPosctl({"validate", "-s", kSchema, "-t", "Root", kData + "two_objects.typea"});
  EXPECT_EQ(objects.status, 1);
  EXPECT_EQ(objects.out, "");
  ExpectMatchesFile(objects.err, "validate/two_objects.stderr");

  // The same through standard input, copied to the library's temporary-file
  // stream; the runner fails the test if anything is left in TMPDIR.
  RunOptions fromStdin;
  fromStdin.stdinFile = SourcePath(kData + "faults.json");
  Result piped = RunPosctl({"validate", "-s", kSchema, "-t", "Root", "-"}, fromStdin);
  EXPECT_EQ(piped.status, 1);
  Result named = RunPosctl({"validate", "-s", kSchema, "-t", "Root", kData + "faults.json"});
  std::string renamed = named.err;
  for (size_t at; (at = renamed.find(kData + "faults.json")) != std::string::npos;) {
    renamed.replace(at, kData.size() + 11, "<stdin>");
  }
  EXPECT_EQ(piped.err, renamed);
}

// The README's main job: the bundled settings pass their schema, in both
// formats, and the copy with faults has each located.
TEST(Validate, TheExamplesOfTheReadme) {
  const std::string schema = "examples/settings_schema.pos";
  Result valid = RunPosctl({"validate", "-s", schema, "-t", "Settings", "examples/settings.pos",
                            "examples/settings.json"});
  EXPECT_EQ(valid.status, 0) << valid.err;
  EXPECT_EQ(valid.out, "examples/settings.pos: valid\nexamples/settings.json: valid\n");
  Result faults =
      RunPosctl({"validate", "-s", schema, "-t", "Settings", "examples/settings_faults.pos"});
  EXPECT_EQ(faults.status, 1);
  ExpectMatchesFile(faults.err, "validate/settings_faults.stderr");
}

TEST(Validate, ExitStatusAndMessages) {
  const struct {
    std::vector<std::string> args;
    int status;
    std::string out;
    std::string err;
  } cases[] = {
      {{"-t", "Root", kData + "valid.pos", kData + "two_objects.typea"},
       1,
       kData + "valid.pos: valid\n",
       ""},
      {{"-t", "Small", kData + "valid.pos"},
       1,
       "",
       "tests/tools/data/validate/valid.pos:1:1: error: Expected INT was of invalid type\n"
       "    <\n    ^\n"},
      {{"-t", "real", kData + "missing.pos"},
       1,
       "",
       "posctl: error: tests/tools/data/validate/missing.pos: No such file or directory\n"},
      {{"-t", "Rot", kData + "missing.pos"},
       2,
       "",
       "posctl: error: 'Rot' is no type of tests/tools/data/validate/schema.pos and no built-in "
       "type; did you mean 'Root'?\n"},
      {{"-t", "any", kData + "valid.pos"}, 0, kData + "valid.pos: valid\n", ""},
      {{"-t", "Never", kData + "valid.pos"},
       1,
       "",
       "posctl: error: tests/tools/data/validate/valid.pos: not valid as 'Never', and the "
       "library gives no line to say why (a union whose \"set\" is empty or missing fails "
       "every value so)\n"},
      {{"-t", "Tags", kData + "long_key.json"},
       1,
       "",
       "posctl: error: tests/tools/data/validate/long_key.json: the library stopped validating: "
       "FormatIntoPOSString overwrote buffer\n"},
      {{"-t", "any", "-", "-"},
       2,
       "",
       "posctl: error: '-' is given more than once; standard input can be read only once\n"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"validate", "-s", kSchema};
    args.insert(args.end(), c.args.begin(), c.args.end());
    Result result = RunPosctl(args);
    EXPECT_EQ(result.status, c.status) << c.args[1];
    EXPECT_EQ(result.out, c.out) << c.args[1];
    if (!c.err.empty()) {
      EXPECT_EQ(result.err, c.err) << c.args[1];
    }
  }
  Result badSchema =
      RunPosctl({"validate", "-s", kData + "faults.pos.none", "-t", "Root", kData + "valid.pos"});
  EXPECT_EQ(badSchema.status, 2);
  EXPECT_EQ(badSchema.out, "");
}

// Many files, valid, invalid and missing, in one order: four jobs print
// exactly what one job prints.
TEST(Validate, JobsPrintWhatOneJobPrints) {
  const std::string files[] = {"faults.pos",        "valid.pos",   "faults.json",
                               "two_objects.typea", "missing.pos", "long_key.json"};
  // Under Tags, long_key.json makes the library report a failure, which a
  // job can only tell apart from the others' when it runs alone.
  for (const char* type : {"Root", "Tags"}) {
    std::vector<std::string> args = {"validate", "-s", kSchema, "-t", type};
    for (int i = 0; i < 60; ++i) args.push_back(kData + files[(i * 7) % 6]);
    Result one = RunPosctl(args);
    args.insert(args.begin() + 1, {"--jobs", "4"});
    Result four = RunPosctl(args);
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(four.status, one.status);
    EXPECT_EQ(four.out, one.out) << type;
    EXPECT_EQ(four.err, one.err) << type;
    EXPECT_GT(one.err.size(), 60u * 100);
  }
}

// A progress bar through the runtime's progress interface, on a terminal
// only: script(1) gives posctl one.
TEST(Validate, ProgressBarOnATerminalOnly) {
  if (access("/usr/bin/script", X_OK) != 0 ||
      std::system("script -qec true /dev/null >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "no terminal from script(1) here";
  }
  std::vector<std::string> args = {"validate", "-s", kSchema, "-t", "Root", "-j", "2"};
  for (int i = 0; i < 12; ++i) args.push_back(kData + "valid.pos");
  std::string command;
  for (const std::string& arg : args) command += " '" + arg + "'";
  command = "cd '" + SourcePath("") + "' && script -qec \"" + POSCTL_PATH + command +
            " >/dev/null\" /dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string terminal;
  char block[4096];
  for (size_t n; (n = fread(block, 1, sizeof block, pipe)) > 0;) terminal.append(block, n);
  EXPECT_EQ(pclose(pipe), 0) << terminal;
  EXPECT_NE(terminal.find("] 1/12\033[K"), std::string::npos) << terminal;
  EXPECT_NE(terminal.find("posctl: [##############################] 12/12\033[K\r\033[K"),
            std::string::npos)
      << terminal;
  EXPECT_EQ(RunPosctl(args).err, "");
}

TEST(CheckSchema, ShowsTheSelectedFormAndWarnsWhenStrict) {
  Result valid = RunPosctl({"check-schema", kSchema});
  EXPECT_EQ(valid.status, 0) << valid.err;
  EXPECT_EQ(valid.out, kSchema + ": valid schema\n");

  Result bad = RunPosctl({"check-schema", kData + "bad_schema.pos"});
  EXPECT_EQ(bad.status, 1);
  ExpectMatchesFile(bad.err, "validate/bad_schema.stderr");
  // --raw gives every line of the library, the ten forms of each entry.
  Result raw = RunPosctl({"check-schema", "--raw", kData + "bad_schema.pos"});
  EXPECT_EQ(raw.status, 1);
  EXPECT_NE(raw.err.find(":2:21: error: Age (value, type != TypeDefn): Not a valid union type: "
                         "Trying DictDefn: Unknown member bogus\n"),
            std::string::npos);
  EXPECT_GT(raw.err.size(), 4 * bad.err.size());

  Result strict = RunPosctl({"check-schema", "--strict", kData + "strict_schema.pos"});
  EXPECT_EQ(strict.status, 1);
  ExpectMatchesFile(strict.err, "validate/strict_schema.stderr");
  Result lenient = RunPosctl({"check-schema", kData + "strict_schema.pos"});
  EXPECT_EQ(lenient.status, 1);  // a union without "set" fails the check itself
  EXPECT_EQ(lenient.err.find("warning"), std::string::npos);
}

TEST(Explain, SaysWhatTheValueMustBe) {
  Result member = RunPosctl({"explain", kSchema, "Root", "tags.abcd"});
  EXPECT_EQ(member.status, 0) << member.err;
  EXPECT_EQ(member.out,
            "the top level: type Root: a dictionary: required items, 'odd: key', size; optional "
            "meta, tags; no other members\n"
            "  'tags': an optional member of Root, type Tags: a dictionary: any other key of type "
            "Short, its value of type Both\n"
            "    'tags.abcd': a member of Tags (its key of type Short), type Both: all of the "
            "types real, Small at once\n"
            "      as a part of intersection Both, type real: a number\n"
            "      as a part of intersection Both, type Small: a whole number that fits 32 bits, "
            "at most 9\n");
  Result refused = RunPosctl({"explain", "-p", kSchema, "Root", "/size/0"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "posctl: error: type Root allows no value at '/size/0'\n");
}

}  // namespace
}  // namespace posctl_test
