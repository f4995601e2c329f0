// Real data from ../shared/corpus, read in place where the folder exists:
// each JSON file goes JSON -> TypeA -> JSON and comes back equal, and the
// JSON checker files are accepted or refused as they are marked.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

const std::string kCorpus = POSCTL_CORPUS_DIR;
constexpr char kNullAs[] = "(null)";

std::vector<std::string> FilesIn(const std::string& dir, const std::string& suffix) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* entry = readdir(d)) {
      std::string name = entry->d_name;
      if (name.size() > suffix.size() &&
          name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        names.push_back(name);
      }
    }
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Equal as JSON after the mapping: true, false and null come back as the
// strings that stand for them, and an integer that a double can't hold
// comes back as the double nearest to it.
void ExpectSameAfterMapping(const nlohmann::json& original, const nlohmann::json& back,
                            const std::string& path) {
  using Type = nlohmann::json::value_t;
  switch (original.type()) {
    case Type::null:
      EXPECT_EQ(back, kNullAs) << path;
      return;
    case Type::boolean:
      EXPECT_EQ(back, original.get<bool>() ? "true" : "false") << path;
      return;
    case Type::number_integer:
    case Type::number_unsigned:
    case Type::number_float:
      ASSERT_TRUE(back.is_number()) << path;
      EXPECT_EQ(back.get<double>(), original.get<double>()) << path;
      return;
    case Type::array:
      ASSERT_TRUE(back.is_array()) << path;
      ASSERT_EQ(back.size(), original.size()) << path;
      for (size_t i = 0; i < original.size(); ++i) {
        ExpectSameAfterMapping(original[i], back[i], path + "[" + std::to_string(i) + "]");
      }
      return;
    case Type::object:
      ASSERT_TRUE(back.is_object()) << path;
      ASSERT_EQ(back.size(), original.size()) << path;
      for (const auto& [key, value] : original.items()) {
        ASSERT_TRUE(back.contains(key)) << path << "." << key;
        ExpectSameAfterMapping(value, back[key], path + "." + key);
      }
      return;
    default:
      EXPECT_EQ(back, original) << path;
  }
}

TEST(Corpus, EachJsonFileComesBackEqualThroughTypeA) {
  const std::vector<std::string> files = FilesIn(kCorpus, ".json");
  if (files.empty()) GTEST_SKIP() << "no corpus at " << kCorpus;
  for (const std::string& name : files) {
    SCOPED_TRACE(name);
    const std::string typeA = TempPath(name + ".typea");
    Result in = RunPosctl({"convert", "--null-as", kNullAs, kCorpus + "/" + name, "-o", typeA});
    ASSERT_EQ(in.status, 0) << in.err;
    Result out = RunPosctl({"convert", "--to", "json", typeA});
    ASSERT_EQ(out.status, 0) << out.err;
    ExpectSameAfterMapping(nlohmann::json::parse(ReadFile(kCorpus + "/" + name)),
                           nlohmann::json::parse(out.out), name);
    std::remove(typeA.c_str());
  }
}

TEST(Corpus, IntegersADoubleCantHoldAreReported) {
  if (!std::ifstream(kCorpus + "/twitter.json")) GTEST_SKIP() << "no corpus at " << kCorpus;
  Result result = RunPosctl({"check", "--null-as", kNullAs, kCorpus + "/twitter.json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("warning: integers beyond 2^53 change on the way in"),
            std::string::npos)
      << result.err;
}

TEST(Corpus, JsonCheckerPassFilesAreAccepted) {
  const std::string dir = kCorpus + "/jsonchecker";
  std::vector<std::string> passes;
  for (const std::string& name : FilesIn(dir, ".json")) {
    if (name.rfind("pass", 0) == 0) passes.push_back(name);
  }
  if (passes.empty()) GTEST_SKIP() << "no corpus at " << dir;
  for (const std::string& name : passes) {
    Result result = RunPosctl({"check", "--null-as", kNullAs, dir + "/" + name});
    EXPECT_EQ(result.status, 0) << name << ": " << result.err;
    EXPECT_EQ(result.err, "") << name;
  }
}

// The files marked _EXCLUDE are disputed cases (a bare string at the top,
// nesting past twenty levels), which posctl accepts.
TEST(Corpus, JsonCheckerFailFilesAreRefusedWithAMessage) {
  const std::string dir = kCorpus + "/jsonchecker";
  std::vector<std::string> fails;
  for (const std::string& name : FilesIn(dir, ".json")) {
    if (name.rfind("fail", 0) == 0 && name.find("_EXCLUDE") == std::string::npos) {
      fails.push_back(name);
    }
  }
  if (fails.empty()) GTEST_SKIP() << "no corpus at " << dir;
  for (const std::string& name : fails) {
    Result result = RunPosctl({"check", "--null-as", kNullAs, dir + "/" + name});
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_EQ(result.out, "") << name;
    EXPECT_NE(result.err.find(dir + "/" + name + ":1:"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("error: syntax error"), std::string::npos) << result.err;
  }
}

}  // namespace
}  // namespace posctl_test
