// Growth with size: an Array of n Numbers and a Dict of n keys, built,
// written as TypeA, read back, cloned and validated, for n from 10^3 to
// 10^6. Google Benchmark fits the times to the expected order, O(n) for
// arrays and O(n log n) for dictionaries, and items_per_second gives the cost
// per member at each size.
#include <benchmark/benchmark.h>

#include <string>

#include "bench_session.h"

namespace moxbench {
namespace {

enum class Shape { kArray, kDict };

MOXContainer Build(Shape shape, int64_t n) {
  const Procs& p = Session();
  if (shape == Shape::kArray) {
    MOXContainer array = p.posArray.NewPOSArray();
    for (int64_t i = 0; i < n; ++i) {
      p.posArray.Append(array, p.posNumber.NewPOSNumber(static_cast<double>(i) * 0.5));
    }
    return array;
  }
  MOXContainer dict = p.posDict.NewPOSDict();
  for (int64_t i = 0; i < n; ++i) {
    MOXStringAtom key = p.string.NewStringAtom(("k" + std::to_string(i * 7919 % n)).c_str());
    p.posDict.Put(dict, key, p.posNumber.NewPOSNumber(static_cast<double>(i) * 0.5));
    p.string.DeleteStringAtom(key);
  }
  return dict;
}

void Finish(benchmark::State& state) {
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A fresh memory stream holding `tree` as TypeA.
MOXContainer WrittenStream(MOXContainer streamer, MOXContainer tree) {
  const Procs& p = Session();
  MOXContainer stream = nullptr;
  p.streamFactory.NewPositionableMemoryStream(&stream);
  Keep(stream);
  p.posStreamer.Serialize(streamer, stream, tree, nullptr);
  return stream;
}

void ScaleBuild(benchmark::State& state, Shape shape) {
  for (auto _ : state) Held tree(Build(shape, state.range(0)));
  Finish(state);
}

void ScaleWrite(benchmark::State& state, Shape shape) {
  const Procs& p = Session();
  Held tree(Build(shape, state.range(0)));
  Held streamer(p.posStreamer.NewPOSStreamer());
  for (auto _ : state) p.container.Release(WrittenStream(streamer.object, tree.object));
  Finish(state);
}

void ScaleRead(benchmark::State& state, Shape shape) {
  const Procs& p = Session();
  Held streamer(p.posStreamer.NewPOSStreamer());
  MOXContainer stream;
  {
    Held tree(Build(shape, state.range(0)));
    stream = WrittenStream(streamer.object, tree.object);
  }
  for (auto _ : state) {
    Rewind(stream);
    Held tree(p.posStreamer.Deserialize(streamer.object, stream));
  }
  p.container.Release(stream);
  Finish(state);
}

void ScaleClone(benchmark::State& state, Shape shape) {
  const Procs& p = Session();
  Held tree(Build(shape, state.range(0)));
  for (auto _ : state) Held copy(p.posObject.Clone(tree.object));
  Finish(state);
}

void IgnoreLine(const char*) {}

void ScaleValidate(benchmark::State& state, Shape shape) {
  const Procs& p = Session();
  Held tree(Build(shape, state.range(0)));
  Held schema(
      p.posStatics.CreateFromText("< Values < category array membertype real >"
                                  "  Table < category dict keytype string valuetype real > >",
                                  nullptr));
  Held validator(p.posStructValidator.NewPOSStructValidator(schema.object));
  MOXStringAtom type = p.string.NewStringAtom(shape == Shape::kArray ? "Values" : "Table");
  for (auto _ : state) {
    if (!p.posValidator.Validate(validator.object, tree.object, type, &IgnoreLine)) {
      state.SkipWithError("the tree does not pass");
      break;
    }
  }
  p.string.DeleteStringAtom(type);
  Finish(state);
}

// BM_Scale<Shape><Operation>, e.g. BM_ScaleDictRead/100000.
#define MOX_SCALING_BENCHMARK(operation, shape, order)       \
  void BM_Scale##shape##operation(benchmark::State& state) { \
    Scale##operation(state, Shape::k##shape);                \
  }                                                          \
  BENCHMARK(BM_Scale##shape##operation)                      \
      ->RangeMultiplier(10)                                  \
      ->Range(1000, 1000000)                                 \
      ->Unit(benchmark::kMillisecond)                        \
      ->Complexity(order)

MOX_SCALING_BENCHMARK(Build, Array, benchmark::oN);
MOX_SCALING_BENCHMARK(Build, Dict, benchmark::oNLogN);
MOX_SCALING_BENCHMARK(Write, Array, benchmark::oN);
MOX_SCALING_BENCHMARK(Write, Dict, benchmark::oN);
MOX_SCALING_BENCHMARK(Read, Array, benchmark::oN);
MOX_SCALING_BENCHMARK(Read, Dict, benchmark::oNLogN);
MOX_SCALING_BENCHMARK(Clone, Array, benchmark::oN);
MOX_SCALING_BENCHMARK(Clone, Dict, benchmark::oNLogN);
MOX_SCALING_BENCHMARK(Validate, Array, benchmark::oN);
MOX_SCALING_BENCHMARK(Validate, Dict, benchmark::oNLogN);

}  // namespace
}  // namespace moxbench
