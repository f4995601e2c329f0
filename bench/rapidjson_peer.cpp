// The fast JSON peer: RapidJSON parsing and writing the same documents as
// BM_DeserializeTypeA and BM_SerializeTypeA, in its default, exact modes.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>

#include "corpus.h"

namespace moxbench {
namespace {

// Parses into a DOM that is then destroyed, as the library's tree is.
void BM_PeerRapidJsonParse(benchmark::State& state) {
  const std::string text = CorpusDocument(kDocuments[state.range(0)]).dump();
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse(text.c_str(), text.size());
    if (document.HasParseError()) state.SkipWithError("RapidJSON refused the document");
    benchmark::DoNotOptimize(document);
  }
}
BENCHMARK(BM_PeerRapidJsonParse)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

// Writes compact JSON into a fresh buffer, as the library writes into a fresh
// memory stream.
void BM_PeerRapidJsonWrite(benchmark::State& state) {
  const std::string text = CorpusDocument(kDocuments[state.range(0)]).dump();
  rapidjson::Document document;
  document.Parse(text.c_str(), text.size());
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    benchmark::DoNotOptimize(buffer.GetSize());
  }
}
BENCHMARK(BM_PeerRapidJsonWrite)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace moxbench
