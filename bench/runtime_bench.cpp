// The reference runtime's own operations, called through the procedures a
// component fetches, on one thread and on two at once: atom interning (a new
// text and one already alive), container creation and release, AddRef and
// Release of one container that both threads share, a memory block, and a
// method fetch. The library's method-table hit is in binding_bench.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_session.h"
#include "moxhost/runtime.h"

namespace moxbench {
namespace {

// Texts that no other thread interns, so that every call makes a new atom.
std::vector<std::string> ThreadTexts(int thread) {
  std::vector<std::string> texts;
  for (int i = 0; i < 1024; ++i) {
    texts.push_back("runtime-bench-" + std::to_string(thread) + "-" + std::to_string(i));
  }
  return texts;
}

void BM_RuntimeAtomNew(benchmark::State& state) {
  const Procs& p = Session();
  const std::vector<std::string> texts = ThreadTexts(state.thread_index());
  size_t i = 0;
  for (auto _ : state) {
    p.string.DeleteStringAtom(p.string.NewStringAtom(texts[i].c_str()));
    if (++i == texts.size()) i = 0;
  }
}
BENCHMARK(BM_RuntimeAtomNew)->ThreadRange(1, 2);

// The text is alive throughout, as the names of a component are.
void BM_RuntimeAtomExisting(benchmark::State& state) {
  const Procs& p = Session();
  MOXStringAtom held = p.string.NewStringAtom("POSNumberInterface");
  for (auto _ : state) p.string.DeleteStringAtom(p.string.NewStringAtom("POSNumberInterface"));
  p.string.DeleteStringAtom(held);
}
BENCHMARK(BM_RuntimeAtomExisting)->ThreadRange(1, 2);

void BM_RuntimeContainerNewRelease(benchmark::State& state) {
  const Procs& p = Session();
  for (auto _ : state) {
    MOXContainer container = nullptr;
    p.container.NewContainer(&container, 0, 0, 0, 0, 0);
    p.container.AddRef(container);
    p.container.Release(container);
  }
}
BENCHMARK(BM_RuntimeContainerNewRelease)->ThreadRange(1, 2);

// One container for all threads: its count is the one word they share. The
// first thread makes it before the loop and lets it go after; the loop's
// start and end wait for every thread.
MOXContainer gShared = nullptr;
void BM_RuntimeAddRefRelease(benchmark::State& state) {
  const Procs& p = Session();
  if (state.thread_index() == 0) gShared = Keep(p.posNumber.NewPOSNumber(1.0));
  for (auto _ : state) {
    p.container.AddRef(gShared);
    p.container.Release(gShared);
  }
  if (state.thread_index() == 0) p.container.Release(gShared);
}
BENCHMARK(BM_RuntimeAddRefRelease)->ThreadRange(1, 2);

void BM_RuntimeAllocFree(benchmark::State& state) {
  typedef void* (*AllocProc)(uint64_t);
  typedef void (*FreeProc)(void*);
  Session();
  MOXLookupProc lookup = moxhost::Runtime::LookupProc();
  auto alloc =
      reinterpret_cast<AllocProc>(lookup("MOXMemoryInterface", "Alloc", "MOXMemAllocProc"));
  auto release = reinterpret_cast<FreeProc>(lookup("MOXMemoryInterface", "Free", "MOXMemFreeProc"));
  for (auto _ : state) release(alloc(48));
}
BENCHMARK(BM_RuntimeAllocFree)->ThreadRange(1, 2);

// What a component does on a miss of its method table: one GetMethod.
void BM_RuntimeGetMethod(benchmark::State& state) {
  const Procs& p = Session();
  Held number(p.posNumber.NewPOSNumber(1.0));
  MOXStringAtom method = p.string.NewStringAtom("Clone");
  MOXStringAtom procType = p.string.NewStringAtom("POSObjectCloneProc");
  for (auto _ : state) {
    void* proc = nullptr;
    p.container.GetMethod(&proc, number.object, method, procType, true);
    benchmark::DoNotOptimize(proc);
  }
  p.string.DeleteStringAtom(method);
  p.string.DeleteStringAtom(procType);
}
BENCHMARK(BM_RuntimeGetMethod)->ThreadRange(1, 2);

// The whole life of the smallest object, through the library's entry points,
// with each thread making its own.
void BM_NumberLifeOnThreads(benchmark::State& state) {
  const Procs& p = Session();
  for (auto _ : state) p.container.Release(Keep(p.posNumber.NewPOSNumber(1.0)));
}
BENCHMARK(BM_NumberLifeOnThreads)->ThreadRange(1, 2);

}  // namespace
}  // namespace moxbench
