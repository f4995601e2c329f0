// The nesting limit that keeps the library's recursion off the end of the
// stack, in each input format, and large TypeA input read as a stream.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

constexpr char kMagic[] = "POSStreamerTypeA_Version1.0 ";

std::string NestedArrays(size_t depth) {
  return std::string(depth, '[') + std::string(depth, ']');
}

std::string NestedDicts(size_t depth) {
  std::string text;
  for (size_t i = 0; i < depth; ++i) text += "<k ";
  return text + "leaf" + std::string(depth, '>');
}

TEST(Limits, DefaultDepthOf512IsAcceptedAnd513RefusedInEveryFormat) {
  std::string refusals;
  for (const std::string extension : {"pos", "json", "typea"}) {
    const std::string prefix = extension == "typea" ? kMagic : "";
    const std::string ok = TempPath("ok." + extension);
    WriteFile(ok, prefix + NestedArrays(512));
    Result accepted = RunPosctl({"check", ok});
    EXPECT_EQ(accepted.status, 0) << extension << ": " << accepted.err;

    const std::string deep = TempPath("deep." + extension);
    WriteFile(deep, prefix + NestedArrays(513));
    Result refused = RunPosctl({"check", deep});
    EXPECT_EQ(refused.status, 1) << extension;
    EXPECT_EQ(refused.out, "");
    // The file name differs from run to run.
    std::string err = refused.err;
    err.replace(err.find(deep), deep.size(), "FILE");
    refusals += err;
  }
  ExpectMatchesFile(refusals, "depth_513.stderr");
}

// --max-depth moves the limit. Brackets inside strings open nothing, so the
// scan must not count them; an opening byte written as an octal escape still
// opens an object for the library's reader, so it counts.
TEST(Limits, MaxDepthOptionMovesTheLimitAndCountsOnlyWhatOpens) {
  const std::string brackets(600, '[');
  const struct {
    std::string name, text, maxDepth, error;  // error empty: accepted
  } cases[] = {
      {"dicts.pos", NestedDicts(20), "20", ""},
      {"dicts.pos", NestedDicts(20), "19",
       ":1:58: error: nesting deeper than 19 levels (see --max-depth)"},
      {"strings.pos", "[(" + std::string(90, '[') + ") `005b`]", "1", ""},
      {"strings.typea", kMagic + ("[\"" + brackets + "\" `005b` {\"[[\" #2  5B5B} ]"), "2", ""},
      {"strings.json", "[\"" + brackets + "\"]", "1", ""},
      {"escaped.typea", kMagic + std::string("[\\133\\133]]]"), "3", ""},
      {"escaped.typea", kMagic + std::string("[\\133\\133]]]"), "2",
       ":1:34: error: nesting deeper than 2 levels"},
  };
  for (const auto& c : cases) {
    const std::string path = TempPath(c.name);
    WriteFile(path, c.text);
    Result result = RunPosctl({"check", "--max-depth", c.maxDepth, path});
    EXPECT_EQ(result.status, c.error.empty() ? 0 : 1) << c.name << ": " << result.err;
    EXPECT_NE(result.err.find(c.error), std::string::npos) << result.err;
  }
}

#ifdef __SANITIZE_ADDRESS__
// AddressSanitizer keeps freed memory in quarantine, so the resident size
// says nothing about what posctl holds; the output is still checked.
constexpr bool kMeasureMemory = false;
constexpr int kStreams = 100;
#else
constexpr bool kMeasureMemory = true;
constexpr int kStreams = 800;
#endif

// Many streams read one at a time: posctl holds one object, never the file.
TEST(Limits, LargeTypeAFileStreamsThroughCat) {
  std::string stream = std::string(kMagic) + "[\n";
  for (int i = 0; i < 2000; ++i) stream += "\t\"line " + std::to_string(i) + " of a long text\"\n";
  stream += "]\n";
  const std::string small = TempPath("small.typea");
  WriteFile(small, stream);
  const std::string large = TempPath("large.typea");
  {
    std::ofstream out(large, std::ios::binary);
    for (int i = 0; i < kStreams; ++i) out << stream;  // some 45 MB, unsanitized
  }
  Result baseline = RunPosctl({"cat", small});
  Result result = RunPosctl({"cat", large});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out.size(), stream.size() * kStreams);
  if (kMeasureMemory) {
    EXPECT_LT(result.maxRssKb - baseline.maxRssKb, 16 * 1024)
        << "the file is 45 MB; cat should hold one stream at a time";
  }
  std::remove(large.c_str());
}

}  // namespace
}  // namespace posctl_test
