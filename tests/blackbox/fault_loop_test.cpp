// The fault loops over the catalogue (fault_loop.h), one test per scenario.
// Each prints how many faults it injected, as "[ faults   ] ...".
#include <cstdio>
#include <memory>
#include <set>

#include "blackbox/fault_loop.h"
#include "support/live_counts.h"
#include "support/scratch_dir.h"

namespace moxtest {

using moxhost::FaultMode;
using moxhost::FaultPoint;
using moxhost::Runtime;

int RawPointerProbe::attempts = 0;
int RawPointerProbe::made = 0;
int RawPointerProbe::released = 0;

MOXContainer RawPointerProbe::New(const POSProcs& p) {
  ++attempts;
  MOXContainer pointer = p.posRawPointer.NewPOSRawPointer(&made, [](void*) { ++released; });
  if (pointer != nullptr) ++made;
  return pointer;
}

FaultRun::~FaultRun() {
  for (MOXContainer object : owned_) p.container.Release(object);
}

MOXContainer FaultRun::Own(MOXContainer object) {
  if (object != nullptr) owned_.push_back(p.Keep(object));
  return object;
}

bool FaultRun::Failed(MOXErrorRef error) {
  if (error == nullptr) return false;
  MOXStringAtom message = p.error.GetErrorMessage(error);
  failures.push_back(std::string("error: ") + (message ? p.string.GetCString(message) : "?"));
  p.error.Release(error);
  return true;
}

// Names a scenario in test names and messages.
void PrintTo(const FaultScenario& scenario, std::ostream* out) {
  *out << scenario.name;
}

namespace {

// Each fault point, and the report that a fault of it gives.
struct Point {
  FaultPoint point;
  const char* name;
  const char* report;
};
const Point kPoints[] = {
    {FaultPoint::kAllocation, "Alloc", "std::bad_alloc"},
    {FaultPoint::kStringAtom, "NewStringAtom", "std::bad_alloc"},
    {FaultPoint::kBuffer, "NewBuffer", "std::bad_alloc"},
    {FaultPoint::kContainer, "NewFullContainer", "std::bad_alloc"},
    {FaultPoint::kStreamRead, "Read", "Read: injected fault"},
    {FaultPoint::kStreamWrite, "Write", "Write: injected fault"},
    {FaultPoint::kStreamMark, "Mark", "Mark: injected fault"},
    {FaultPoint::kStreamSeek, "Seek", "Seek: injected fault"},
};

// What else a faulted run may report: the object that the fault kept from
// being made is missing from the calls that follow (a null handle or atom
// handed on, a clone that lost a member, a stream left half written).
const std::set<std::string> kConsequences = {
    "invalid container",
    "null argument",
    "instance was not an POSArray",
    "instance was not an POSDict",
    "CPOSObject::Clone failed",
    "unexpected EOF",
    "getNextChar unexpected EOF",
};

constexpr char kCopyMethod[] = "CreateIndependentlyPositionableStream";
constexpr char kCopyProcType[] = "MOXPositionableStreamCreateIndependentlyPositionableStreamProc";

class FaultLoops : public ForeignLibrary, public ::testing::WithParamInterface<FaultScenario> {
 protected:
  void SetUp() override {
    // The temporary directory of the file scenarios, before the library
    // starts.
    scratch_ = std::make_unique<ScratchDir>();
    ForeignLibrary::SetUp();
    // The method tables of a temporary stream and of its copies stay from
    // their first use until the stop, which the fixture checks.
    MOXContainer warm = nullptr;
    ASSERT_EQ(p.tempFileStreamFactory.NewTempFileStream(&warm, "warm", "", "w+b"), nullptr);
    p.Keep(warm);
    void* copy = nullptr;
    ASSERT_EQ(p.container.GetMethod(
                  &copy, warm, POSProcs::Atom{p, p.string.NewStringAtom(kCopyMethod)}.atom,
                  POSProcs::Atom{p, p.string.NewStringAtom(kCopyProcType)}.atom, true),
              nullptr);
    MOXContainer copied = nullptr;
    ASSERT_EQ(reinterpret_cast<MOXPositionableStreamCreateIndependentlyPositionableStreamProc>(
                  copy)(warm, &copied),
              nullptr);
    p.Drop(copied);
    p.container.Release(warm);
    started_ = Runtime::Get().Counts();
    in_.tree = Parse(kFaultTree);
    in_.schema = Parse(kFaultSchema);
    in_.validator = p.Keep(p.posStructValidator.NewPOSStructValidator(in_.schema));
    in_.goodValue = Parse("< list [1 2 3] point < x 1 y 2 > name n >");
    in_.badValue = Parse("< list [5 a 12] point < x 1 y 12 z 3 > >");
  }
  void TearDown() override {
    for (MOXContainer input : {in_.tree, in_.schema, in_.validator, in_.goodValue, in_.badValue}) {
      if (input != nullptr) p.container.Release(input);
    }
    if (reference_ != nullptr) p.container.Release(reference_);
    ForeignLibrary::TearDown();
    scratch_.reset();
  }

  // After each run: nothing left in the temporary directory unless the run
  // ended where its scenario accepts a leak, which goes then, and the
  // descriptors that unique files keep open on purpose go too.
  void ClearFiles(bool mayLeaveFiles) {
    const Names left = scratch_->Entries();
    if (!mayLeaveFiles || GetParam().acceptedLeak == nullptr) {
      EXPECT_EQ(left, Names{}) << "left behind";
    }
    for (const std::string& name : left) scratch_->Remove(name);
    scratch_->CloseDescriptors();
  }

  // Runs the scenario without faults, keeps its result, and counts the calls
  // it makes at each point.
  void RunReference() {
    uint64_t before[moxhost::kFaultPointCount];
    for (const Point& point : kPoints) {
      before[static_cast<int>(point.point)] = Runtime::Get().FaultPointCalls(point.point);
    }
    {
      FaultRun run(p, in_);
      GetParam().run(run);
      reference_ = p.Keep(run.object);
      referenceText_ = run.text;
      EXPECT_EQ(run.failures, Strings{});
      // The run's releases come after its faults are cleared: they don't count.
      for (const Point& point : kPoints) {
        const int i = static_cast<int>(point.point);
        calls_[i] = Runtime::Get().FaultPointCalls(point.point) - before[i];
      }
    }
    EXPECT_EQ(TakeReports(), Strings{});
    ClearFiles(false);
  }

  // One run with the n-th call at `point` failing, or every call from the
  // n-th on; gives the number of calls that failed.
  uint64_t RunWithFault(const Point& point, FaultMode mode, uint64_t n) {
    RawPointerProbe::Reset();
    const uint64_t before = Runtime::Get().FaultPointCalls(point.point);
    uint64_t failed = 0;
    bool mayLeaveFiles = false;
    {
      FaultRun run(p, in_);
      Runtime::Get().FailNth(point.point, n, mode);
      GetParam().run(run);
      Runtime::Get().ClearFaults();
      // Calls up to the n-th are those of the reference run: the fault was met.
      const uint64_t made = Runtime::Get().FaultPointCalls(point.point) - before;
      EXPECT_GE(made, n);
      failed = mode == FaultMode::kOnce ? 1 : made - n + 1;
      mayLeaveFiles = run.mayLeaveFiles;
      const Strings reports = TakeReports();
      for (const std::string& report : reports) {
        EXPECT_TRUE(report == point.report || kConsequences.count(report) != 0) << report;
      }
      // A failure shows as a report, an error or exception the component was
      // given, or a line of the schema check, whose callback turns a failure
      // into its text.
      const bool inLines = run.text.find("Caught exception: ") != std::string::npos;
      if (!GetParam().quiet && !SameAsReference(run)) {
        EXPECT_FALSE(reports.empty() && run.failures.empty() && !inLines)
            << "a silent failure:\n"
            << run.text << "\ninstead of\n"
            << referenceText_;
      }
    }
    ClearFiles(mayLeaveFiles);
    EXPECT_LE(RawPointerProbe::made, RawPointerProbe::released);
    EXPECT_LE(RawPointerProbe::released, RawPointerProbe::attempts);
    return failed;
  }

  // Whether a run's result is the reference run's.
  bool SameAsReference(const FaultRun& run) const {
    if (run.text != referenceText_) return false;
    if ((run.object == nullptr) != (reference_ == nullptr)) return false;
    return reference_ == nullptr || (p.posObject.IsEqual(run.object, reference_) &&
                                     p.posObject.IsEqual(reference_, run.object));
  }

  std::unique_ptr<ScratchDir> scratch_;
  FaultInputs in_;
  MOXContainer reference_ = nullptr;
  std::string referenceText_;
  uint64_t calls_[moxhost::kFaultPointCount] = {};
};

TEST_P(FaultLoops, Run) {
  // The reference run also fills what the library keeps from first use on.
  RunReference();
  const moxhost::LiveCounts baseline = Runtime::Get().Counts();
  uint64_t runs = 0, injected = 0;
  std::string perPoint;
  for (const Point& point : kPoints) {
    const uint64_t count = calls_[static_cast<int>(point.point)];
    uint64_t failed = 0;
    for (const FaultMode mode : {FaultMode::kOnce, FaultMode::kFromThenOn}) {
      for (uint64_t n = 1; n <= count && !HasFailure(); ++n, ++runs) {
        SCOPED_TRACE(std::string(point.name) +
                     (mode == FaultMode::kOnce ? " fails at call " : " fails from call ") +
                     std::to_string(n));
        failed += RunWithFault(point, mode, n);
        EXPECT_EQ(CountsDiff(baseline, Runtime::Get().Counts()), "");
      }
    }
    if (count != 0) perPoint += " " + std::string(point.name) + " " + std::to_string(failed);
    injected += failed;
  }
  std::printf("[ faults   ] %s: %llu runs, %llu faults injected (%s )\n", GetParam().name,
              static_cast<unsigned long long>(runs), static_cast<unsigned long long>(injected),
              perPoint.c_str());
}

INSTANTIATE_TEST_SUITE_P(Catalogue, FaultLoops, ::testing::ValuesIn(kFaultCatalogue),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace moxtest
