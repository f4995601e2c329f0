// Every thread-safe use of the library at once, from several threads, while
// another component registers and unregisters an interface of its own, so
// that the unregister counter moves and every cached method table of the
// library goes stale and is fetched again under the threads' feet. Meant for
// ThreadSanitizer, which CI runs it under.
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "blackbox/foreign_library.h"
#include "support/scratch_dir.h"

namespace moxtest {
namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 200;

const char kSchema[] =
    "< Doc   < category dict required < list List > optional < name Name > >"
    "  List  < category array membertype Small >"
    "  Small < category int min 0 max 9 >"
    "  Name  < category string minlen 1 > >";

// Objects every thread shares and nobody writes.
struct Shared {
  MOXContainer tree;
  MOXContainer validator;
  MOXContainer streamer;
  std::vector<MOXContainer> values;
  std::vector<Strings> lines;  // of each value, validated on one thread
  MOXContainer tempStream;     // a temporary stream holding kPayload
};

constexpr char kPayload[] = "payload";

// A method of `stream`, fetched from its container as a component fetches it.
template <typename Proc>
Proc StreamMethod(const POSProcs& p, MOXContainer stream, const char* name, const char* type) {
  void* proc = nullptr;
  MOXErrorRef error =
      p.container.GetMethod(&proc, stream, POSProcs::Atom{p, p.string.NewStringAtom(name)}.atom,
                            POSProcs::Atom{p, p.string.NewStringAtom(type)}.atom, true);
  if (error != nullptr) p.error.Release(error);
  return reinterpret_cast<Proc>(proc);
}

// One round of a workload on a thread; false when it saw something other
// than what one thread alone sees.
using Workload = bool (*)(const POSProcs& p, const Shared& s, int thread, int round);

// Registers and unregisters an interface of another component until `stop`.
void Churn(const std::atomic<bool>& stop, int* unregistrations) {
  const MOXLookupProc lookup = moxhost::Runtime::LookupProc();
  auto enroll = reinterpret_cast<MOXRegisterProcAddressProc>(
      lookup("MOX", "MOXRegisterProcAddress", "MOXRegisterProcAddress"));
  auto withdraw = reinterpret_cast<MOXUnregisterInterfaceProc>(
      lookup("MOX", "MOXUnregisterInterface", "MOXUnregisterInterface"));
  static int probe = 0;
  while (!stop.load()) {
    enroll("StressProbeInterface", "Probe", "StressProbeProc", &probe);
    withdraw("StressProbeInterface");
    ++*unregistrations;
    std::this_thread::yield();
  }
}

bool ValidateOnOneValidator(const POSProcs& p, const Shared& s, int thread, int round) {
  const size_t i = static_cast<size_t>(thread + round) % s.values.size();
  Strings lines;
  const bool valid = Validate(p, s.validator, s.values[i], "Doc", &lines);
  return valid == s.lines[i].empty() && lines == s.lines[i];
}

// New immutable values, and the shared tree read, cloned and compared.
bool MakeAndReadValues(const POSProcs& p, const Shared& s, int thread, int round) {
  MOXContainer number = p.Keep(p.posNumber.NewPOSNumber(thread * 1000 + round));
  MOXContainer two = p.Keep(p.posString.NewPOSString("two"));
  MOXContainer copy = p.Keep(p.posObject.Clone(s.tree));
  const bool same = p.posNumber.Get(number) == thread * 1000 + round &&
                    p.posObject.IsEqual(two, p.DeepGet(s.tree, "a[1]")) &&
                    p.posString.Get(two) == p.posString.Get(p.DeepGet(copy, "a[1]")) &&
                    p.posObject.IsEqual(copy, s.tree) && p.posObject.IsEqual(s.tree, copy) &&
                    p.posObject.Clone(p.DeepGet(s.tree, "a[0]")) == p.DeepGet(copy, "a[0]");
  for (MOXContainer object : {number, two, copy}) p.container.Release(object);
  return same;
}

// The shared tree written with the shared streamer and read back.
bool WriteAndReadBack(const POSProcs& p, const Shared& s, int, int) {
  MemoryStream stream(p, "");
  if (!p.posStreamer.Serialize(s.streamer, stream.Handle(), s.tree, nullptr)) return false;
  stream.Rewind();
  MOXContainer back = p.Keep(p.posStreamer.Deserialize(s.streamer, stream.Handle()));
  const bool same =
      back != nullptr && p.posObject.IsEqual(back, s.tree) && p.posObject.IsEqual(s.tree, back);
  if (back != nullptr) p.container.Release(back);
  return same;
}

// A copy of the shared temporary stream, the first request of all threads
// included, read to its end on this thread.
bool CopyTheTempStream(const POSProcs& p, const Shared& s, int, int) {
  auto copy = StreamMethod<MOXPositionableStreamCreateIndependentlyPositionableStreamProc>(
      p, s.tempStream, "CreateIndependentlyPositionableStream",
      "MOXPositionableStreamCreateIndependentlyPositionableStreamProc");
  MOXContainer made = nullptr;
  MOXErrorRef error = copy(s.tempStream, &made);
  if (error != nullptr) {
    p.error.Release(error);
    return false;
  }
  p.Keep(made);
  auto read = StreamMethod<MOXSimpleStreamReadProc>(p, made, "Read", "MOXSimpleStreamReadProc");
  std::string bytes;
  char block[4];
  for (uint64_t count = 1; count != 0 && error == nullptr;) {
    error = read(made, &count, block, sizeof block);
    if (error == nullptr) bytes.append(block, count);
  }
  if (error != nullptr) p.error.Release(error);
  p.container.Release(made);
  return bytes == kPayload;
}

using Stress = ForeignLibrary;

TEST_F(Stress, EveryWorkloadAtOnceWhileInterfacesComeAndGo) {
  Shared s;
  s.tree = Parse("<a [1 two `0041` <x [y]>] b <c 3> d (a string)>");
  s.validator = NewValidator(kSchema);
  s.streamer = p.Keep(p.posStreamer.NewPOSStreamer());
  for (const char* value : {"< list [1 2 3] name n >", "< list [5 a 12] z 1 >", "< name () >"}) {
    s.values.push_back(Parse(value));
    s.lines.emplace_back();
    Validate(s.validator, s.values.back(), "Doc", &s.lines.back());
  }
  ASSERT_EQ(s.lines[0], Strings{});
  ASSERT_FALSE(s.lines[1].empty());
  ScratchDir scratch;
  s.tempStream = nullptr;
  ASSERT_EQ(p.tempFileStreamFactory.NewTempFileStream(&s.tempStream, "stress", "", "w+b"), nullptr);
  p.Keep(s.tempStream);
  ASSERT_EQ(
      StreamMethod<MOXSimpleStreamWriteProc>(p, s.tempStream, "Write", "MOXSimpleStreamWriteProc")(
          s.tempStream, kPayload, sizeof kPayload - 1),
      nullptr);
  const Workload workloads[] = {&ValidateOnOneValidator, &MakeAndReadValues, &WriteAndReadBack,
                                &CopyTheTempStream};
  constexpr size_t kWorkloads = sizeof workloads / sizeof workloads[0];

  std::atomic<bool> stop(false);
  int unregistrations = 0;
  std::thread churn(&Churn, std::cref(stop), &unregistrations);
  std::vector<int> same(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        const Workload work = workloads[static_cast<size_t>(t + round) % kWorkloads];
        if (work(p, s, t, round)) ++same[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  stop.store(true);
  churn.join();

  EXPECT_EQ(same, std::vector<int>(kThreads, kRounds));
  EXPECT_GT(unregistrations, 0);
  EXPECT_EQ(TakeReports(), Strings{});
  for (MOXContainer object : s.values) p.container.Release(object);
  for (MOXContainer object : {s.tree, s.validator, s.streamer, s.tempStream}) {
    p.container.Release(object);
  }
  EXPECT_EQ(scratch.Entries(), Names{});
  scratch.CloseDescriptors();
  // The method tables of the temporary streams stay until the stop, which
  // the fixture checks against the load.
  started_ = moxhost::Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
