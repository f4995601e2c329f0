// The text notation's parser (CreateFromText) on the corpus documents,
// written in the notation by posctl's writer. The notation holds strings and
// keys of at most 100 characters, so a document with longer ones is reported
// as skipped, with the writer's reason.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "bench_session.h"
#include "corpus.h"
#include "notation_writer.h"

namespace moxbench {
namespace {

void BM_CreateFromNotation(benchmark::State& state) {
  const Procs& p = Session();
  const char* name = kDocuments[state.range(0)];
  state.SetLabel(name);
  std::string text;
  try {
    Held tree(ToPOS(CorpusDocument(name)));
    posctl::WriteNotation(
        p, tree.object, [&](std::string_view piece) { text.append(piece); }, name);
  } catch (const std::exception& refused) {
    state.SkipWithError(refused.what());
    return;
  }
  for (auto _ : state) {
    MOXContainer object = p.posStatics.CreateFromText(text.c_str(), nullptr);
    if (object == nullptr) {
      state.SkipWithError("CreateFromText refused the notation");
      break;
    }
    Held tree(object);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_CreateFromNotation)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace moxbench
