// The POS object model and the TypeA streamer as a component meets them:
// every call goes through a procedure fetched from the runtime. Peers: a
// std::map for dictionary lookups and a JSON library for building, copying,
// comparing and writing the same documents.
#include <benchmark/benchmark.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "bench_session.h"
#include "corpus.h"

namespace moxbench {
namespace {

// ---- Entry points: the primary-instance fast path against the slow path -----

void BM_NumberGet(benchmark::State& state) {
  Held number(Session().posNumber.NewPOSNumber(2.5));
  for (auto _ : state) benchmark::DoNotOptimize(Session().posNumber.Get(number.object));
}
BENCHMARK(BM_NumberGet);

// The same Number reached through a container whose primary instance has
// another name: each call asks the runtime with NGetInstance.
void BM_NumberGetThroughRuntimeLookup(benchmark::State& state) {
  const Procs& p = Session();
  Held number(p.posNumber.NewPOSNumber(2.5));
  auto* record = reinterpret_cast<const MOXPrimaryInstanceRecord*>(
      reinterpret_cast<const char*>(number.object) + p.container.GetOffsetToPrimaryInstance());
  MOXContainer bare = nullptr;
  p.container.NewContainer(&bare, 0, 0, 0, 0, 0);
  Held other(bare);
  MOXStringAtom otherName = p.string.NewStringAtom("BenchOtherImpl");
  MOXStringAtom posName = p.string.NewStringAtom("POSObjectImpl");
  p.container.RegisterInstance(bare, &state, otherName, nullptr);
  p.container.RegisterInstance(bare, record->instance, posName, nullptr);
  for (auto _ : state) benchmark::DoNotOptimize(p.posNumber.Get(bare));
  p.string.DeleteStringAtom(otherName);
  p.string.DeleteStringAtom(posName);
}
BENCHMARK(BM_NumberGetThroughRuntimeLookup);

void BM_NewNumberAndRelease(benchmark::State& state) {
  const Procs& p = Session();
  for (auto _ : state) p.container.Release(Keep(p.posNumber.NewPOSNumber(1.0)));
}
BENCHMARK(BM_NewNumberAndRelease);

// ---- Dictionaries and arrays ------------------------------------------------------

std::vector<std::string> Keys(int64_t n) {
  std::vector<std::string> keys;
  for (int64_t i = 0; i < n; ++i) keys.push_back("key" + std::to_string(i * 7919 % 100003));
  return keys;
}

void BM_DictGet(benchmark::State& state) {
  const Procs& p = Session();
  Held dict(p.posDict.NewPOSDict());
  std::vector<MOXStringAtom> atoms;
  for (const std::string& key : Keys(state.range(0))) {
    atoms.push_back(p.string.NewStringAtom(key.c_str()));
    p.posDict.Put(dict.object, atoms.back(), p.posNumber.NewPOSNumber(1.0));
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(p.posDict.Get(dict.object, atoms[i]));
    if (++i == atoms.size()) i = 0;
  }
  for (MOXStringAtom atom : atoms) p.string.DeleteStringAtom(atom);
}
BENCHMARK(BM_DictGet)->Arg(8)->Arg(64)->Arg(512)->Arg(4096);

void BM_PeerStdMapFind(benchmark::State& state) {
  std::map<std::string, double> map;
  std::vector<std::string> keys = Keys(state.range(0));
  for (const std::string& key : keys) map[key] = 1.0;
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(map.find(keys[i]));
    if (++i == keys.size()) i = 0;
  }
}
BENCHMARK(BM_PeerStdMapFind)->Arg(8)->Arg(64)->Arg(512)->Arg(4096);

void BM_DictPutReplace(benchmark::State& state) {
  const Procs& p = Session();
  Held dict(p.posDict.NewPOSDict());
  Held value(p.posNumber.NewPOSNumber(1.0));
  std::vector<MOXStringAtom> atoms;
  for (const std::string& key : Keys(512)) atoms.push_back(p.string.NewStringAtom(key.c_str()));
  size_t i = 0;
  for (auto _ : state) {
    p.posDict.Put(dict.object, atoms[i], value.object);
    if (++i == atoms.size()) i = 0;
  }
  for (MOXStringAtom atom : atoms) p.string.DeleteStringAtom(atom);
}
BENCHMARK(BM_DictPutReplace);

void BM_ArrayAppend(benchmark::State& state) {
  const Procs& p = Session();
  Held value(p.posNumber.NewPOSNumber(1.0));
  for (auto _ : state) {
    Held array(p.posArray.NewPOSArray());
    for (int64_t i = 0; i < state.range(0); ++i) p.posArray.Append(array.object, value.object);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArrayAppend)->Arg(16)->Arg(1024);

void BM_DeepGet(benchmark::State& state) {
  const Procs& p = Session();
  Held tree(ToPOS(CorpusDocument("twitter")));
  MOXStringAtom address = p.string.NewStringAtom("statuses[7].user.screen_name");
  for (auto _ : state) benchmark::DoNotOptimize(p.posDict.DeepGet(tree.object, address));
  p.string.DeleteStringAtom(address);
}
BENCHMARK(BM_DeepGet);

// ---- Whole documents ----------------------------------------------------------------

void BM_BuildFromJson(benchmark::State& state) {
  const nlohmann::json& document = CorpusDocument(kDocuments[state.range(0)]);
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) Held tree(ToPOS(document));
}
BENCHMARK(BM_BuildFromJson)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_Clone(benchmark::State& state) {
  Held tree(ToPOS(CorpusDocument(kDocuments[state.range(0)])));
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) Held copy(Session().posObject.Clone(tree.object));
}
BENCHMARK(BM_Clone)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PeerJsonCopy(benchmark::State& state) {
  const nlohmann::json& document = CorpusDocument(kDocuments[state.range(0)]);
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) {
    nlohmann::json copy = document;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_PeerJsonCopy)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_IsEqual(benchmark::State& state) {
  Held tree(ToPOS(CorpusDocument(kDocuments[state.range(0)])));
  Held copy(Session().posObject.Clone(tree.object));
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state)
    benchmark::DoNotOptimize(Session().posObject.IsEqual(tree.object, copy.object));
}
BENCHMARK(BM_IsEqual)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PeerJsonEqual(benchmark::State& state) {
  const nlohmann::json& document = CorpusDocument(kDocuments[state.range(0)]);
  nlohmann::json copy = document;
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) benchmark::DoNotOptimize(document == copy);
}
BENCHMARK(BM_PeerJsonEqual)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

// Writes the tree into a fresh runtime memory stream; returns its size.
void BM_SerializeTypeA(benchmark::State& state) {
  const Procs& p = Session();
  Held tree(ToPOS(CorpusDocument(kDocuments[state.range(0)])));
  Held streamer(p.posStreamer.NewPOSStreamer());
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) {
    MOXContainer stream = nullptr;
    p.streamFactory.NewPositionableMemoryStream(&stream);
    Held held(stream);
    benchmark::DoNotOptimize(
        p.posStreamer.Serialize(streamer.object, stream, tree.object, nullptr));
  }
}
BENCHMARK(BM_SerializeTypeA)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PeerJsonDump(benchmark::State& state) {
  const nlohmann::json& document = CorpusDocument(kDocuments[state.range(0)]);
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) benchmark::DoNotOptimize(document.dump());
}
BENCHMARK(BM_PeerJsonDump)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_DeserializeTypeA(benchmark::State& state) {
  const Procs& p = Session();
  Held streamer(p.posStreamer.NewPOSStreamer());
  MOXContainer stream = nullptr;
  p.streamFactory.NewPositionableMemoryStream(&stream);
  Held held(stream);
  {
    Held tree(ToPOS(CorpusDocument(kDocuments[state.range(0)])));
    p.posStreamer.Serialize(streamer.object, stream, tree.object, nullptr);
  }
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) {
    Rewind(stream);
    Held tree(p.posStreamer.Deserialize(streamer.object, stream));
  }
}
BENCHMARK(BM_DeserializeTypeA)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PeerJsonParse(benchmark::State& state) {
  std::string text = CorpusDocument(kDocuments[state.range(0)]).dump();
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(text));
}
BENCHMARK(BM_PeerJsonParse)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_CreateFromText(benchmark::State& state) {
  std::ifstream file(std::string(MOX_EXAMPLES_DIR) + "/settings.pos");
  std::stringstream text;
  text << file.rdbuf();
  std::string notation = text.str();
  if (notation.empty()) notation = "<key (value) list [#1 #2 #3] nested <a #1 b (two)>>";
  for (auto _ : state) Held tree(Session().posStatics.CreateFromText(notation.c_str(), nullptr));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(notation.size()));
}
BENCHMARK(BM_CreateFromText);

}  // namespace
}  // namespace moxbench

// The library is stopped before the process exits, as a host would.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  moxbench::EndSession();
  return 0;
}
