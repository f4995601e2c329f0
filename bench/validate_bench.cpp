// The structure validator on every tweet of twitter.json, against valijson
// on the same tweets. Both know the same rules: bench/data/tweet_schema.pos
// in the library's schema language, bench/data/tweet_schema.json as a JSON
// Schema. Case 0 takes the tweets as they are, all valid; case 1 gives each
// tweet four faults (a string id, a user without screen_name, an unknown
// member, a negative count), and both validators gather every line.
#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>
#include <vector>

#include "bench_session.h"
#include "corpus.h"

namespace moxbench {
namespace {

using nlohmann::json;

std::string ReadDataFile(const std::string& name) {
  std::ifstream file(std::string(MOX_BENCH_DATA_DIR) + "/" + name);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<json> Tweets(bool faulty) {
  std::vector<json> tweets;
  for (json tweet : CorpusDocument("twitter")["statuses"]) {
    if (faulty) {
      tweet["id"] = "not a number";
      tweet["user"].erase("screen_name");
      tweet["extra"] = 1;
      tweet["retweet_count"] = -1;
    }
    tweets.push_back(std::move(tweet));
  }
  return tweets;
}

const char* CaseName(int64_t faulty) {
  return faulty ? "invalid" : "valid";
}

// The validator's error procedure has no place for client data.
int64_t gLines = 0;
void CountLine(const char*) {
  ++gLines;
}

void BM_ValidateTweets(benchmark::State& state) {
  const Procs& p = Session();
  const bool faulty = state.range(0) != 0;
  state.SetLabel(CaseName(state.range(0)));
  MOXContainer schemaObject =
      p.posStatics.CreateFromText(ReadDataFile("tweet_schema.pos").c_str(), nullptr);
  if (schemaObject == nullptr) {
    state.SkipWithError("tweet_schema.pos does not parse");
    return;
  }
  Held schema(schemaObject);
  Held validator(p.posStructValidator.NewPOSStructValidator(schema.object));
  MOXStringAtom tweetType = p.string.NewStringAtom("Tweet");
  std::vector<MOXContainer> trees;
  for (const json& tweet : Tweets(faulty)) trees.push_back(Keep(ToPOS(tweet)));

  gLines = 0;
  for (MOXContainer tree : trees) {
    if (p.posValidator.Validate(validator.object, tree, tweetType, &CountLine) == faulty) {
      state.SkipWithError("a tweet was judged wrongly");
    }
  }
  const int64_t linesPerRound = gLines;
  for (auto _ : state) {
    for (MOXContainer tree : trees) {
      benchmark::DoNotOptimize(
          p.posValidator.Validate(validator.object, tree, tweetType, &CountLine));
    }
  }
  state.counters["lines"] = static_cast<double>(linesPerRound);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(trees.size()));
  for (MOXContainer tree : trees) p.container.Release(tree);
  p.string.DeleteStringAtom(tweetType);
}
BENCHMARK(BM_ValidateTweets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_PeerValijsonTweets(benchmark::State& state) {
  const bool faulty = state.range(0) != 0;
  state.SetLabel(CaseName(state.range(0)));
  const json schemaDocument = json::parse(ReadDataFile("tweet_schema.json"));
  valijson::Schema schema;
  valijson::SchemaParser parser;
  valijson::adapters::NlohmannJsonAdapter schemaAdapter(schemaDocument);
  parser.populateSchema(schemaAdapter, schema);
  valijson::Validator validator;
  const std::vector<json> tweets = Tweets(faulty);

  int64_t linesPerRound = 0;
  for (const json& tweet : tweets) {
    valijson::ValidationResults results;
    if (validator.validate(schema, valijson::adapters::NlohmannJsonAdapter(tweet), &results) ==
        faulty) {
      state.SkipWithError("a tweet was judged wrongly");
    }
    linesPerRound += static_cast<int64_t>(results.numErrors());
  }
  for (auto _ : state) {
    for (const json& tweet : tweets) {
      valijson::ValidationResults results;
      benchmark::DoNotOptimize(
          validator.validate(schema, valijson::adapters::NlohmannJsonAdapter(tweet), &results));
    }
  }
  state.counters["lines"] = static_cast<double>(linesPerRound);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(tweets.size()));
}
BENCHMARK(BM_PeerValijsonTweets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace moxbench
