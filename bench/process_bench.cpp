// Whole processes on the same file: `posctl convert` of each corpus document
// (JSON in, TypeA out, null read as the string "null" as in the other
// benchmarks' trees) against `jq -c .` (JSON in, compact JSON out), both
// started afresh for every run with their output and messages sent to
// /dev/null. The time is the wall time from spawn to exit, start-up included.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "corpus.h"

extern char** environ;

namespace moxbench {
namespace {

// The document's file; a generated document is written to a temporary file
// once, for both programs to read.
std::string DocumentFile(int index) {
  const std::string name = kDocuments[index];
  std::string path = CorpusFile(name);
  if (!path.empty()) return path;
  const char* directory = std::getenv("TMPDIR");
  path = std::string(directory != nullptr ? directory : "/tmp") + "/moxbench-" + name + ".json";
  std::ofstream(path) << CorpusDocument(name).dump();
  return path;
}

// Runs `argv` with standard output and standard error on /dev/null; true
// when it exits with 0.
bool Run(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int failed = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) return false;
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return false;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void RunEach(benchmark::State& state, const std::vector<std::string>& argv) {
  state.SetLabel(kDocuments[state.range(0)]);
  if (argv.front().empty() || access(argv.front().c_str(), X_OK) != 0) {
    state.SkipWithError("the program is not installed");
    return;
  }
  for (auto _ : state) {
    if (!Run(argv)) {
      state.SkipWithError("the program failed; run it by hand to see why");
      break;
    }
  }
}

void BM_ProcessPosctlConvert(benchmark::State& state) {
  const std::string file = DocumentFile(static_cast<int>(state.range(0)));
  RunEach(state, {MOX_POSCTL_PATH, "convert", "--null-as", "null", file});
}
BENCHMARK(BM_ProcessPosctlConvert)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PeerJqCompact(benchmark::State& state) {
  const std::string file = DocumentFile(static_cast<int>(state.range(0)));
  RunEach(state, {MOX_JQ_PATH, "-c", ".", file});
}
BENCHMARK(BM_PeerJqCompact)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace moxbench

BENCHMARK_MAIN();
