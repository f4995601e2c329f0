// The binding layer's fast paths, measured from the inside: finding an
// instance by the primary-instance record against asking the runtime, and a
// method-table hit against a fetch.
#include <benchmark/benchmark.h>

#include "MOXUtils.h"
#include "binding/container_ref.h"
#include "binding/method_tables.h"
#include "binding/string_holder.h"
#include "moxhost/runtime.h"

namespace {

typedef int (*BenchPingProc)(MOXContainer);
int Ping(MOXContainer) {
  return 1;
}
void NoDestroy(void*) {}

const MOXMethodRow kRows[] = {{"Ping", "BenchPingProc"}};
bool Fetch(MOXContainer container, bool quiet, void** procs) {
  return MOX_T_MT::MOXFetchMethods(kRows, 1, container, quiet, procs);
}

struct Started {
  Started() {
    MOXUtilsInitialize(moxhost::Runtime::LookupProc());
    gMOXRegisterProcAddress("BenchInterface", "Ping", "BenchPingProc",
                            reinterpret_cast<void*>(&Ping));
    name = CMOXStringHolder("BenchImpl");
    signature = CMOXStringHolder("BenchInterface");
    container = CMOXContainerRef(MOXNewFullContainer(&instance, name, &NoDestroy, signature));
  }
  int instance = 0;
  CMOXStringHolder name, signature;
  CMOXContainerRef container;
};

Started& Library() {
  static Started* started = new Started();
  return *started;
}

void BM_FindInstanceByRecord(benchmark::State& state) {
  Started& s = Library();
  for (auto _ : state) benchmark::DoNotOptimize(MOXFindInstance(s.container.Container(), s.name));
}
BENCHMARK(BM_FindInstanceByRecord);

void BM_FindInstanceThroughRuntime(benchmark::State& state) {
  Started& s = Library();
  for (auto _ : state) benchmark::DoNotOptimize(MOXNGetInstance(s.container.Container(), s.name));
}
BENCHMARK(BM_FindInstanceThroughRuntime);

void BM_MethodTableHit(benchmark::State& state) {
  Started& s = Library();
  // One list for every thread, as a signature's list is in the library.
  static MOX_T_MT::MOXVTabListGeneric list = {{nullptr, 0}, 0, 1};
  for (auto _ : state) {
    benchmark::DoNotOptimize(MOX_T_MT::MOXLookupProcTable(&list, &Fetch, s.container.Container()));
  }
}
BENCHMARK(BM_MethodTableHit)->ThreadRange(1, 2);

void BM_MethodFetch(benchmark::State& state) {
  Started& s = Library();
  void* procs[1];
  for (auto _ : state) benchmark::DoNotOptimize(Fetch(s.container.Container(), true, procs));
}
BENCHMARK(BM_MethodFetch);

void BM_CountedHandleCopy(benchmark::State& state) {
  Started& s = Library();
  for (auto _ : state) {
    CMOXContainerRef copy(s.container);
    benchmark::DoNotOptimize(copy.Container());
  }
}
BENCHMARK(BM_CountedHandleCopy);

}  // namespace

BENCHMARK_MAIN();
