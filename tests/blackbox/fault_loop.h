// Fault loops: every scenario of a catalogue is run once to count the calls
// it makes of each runtime operation that can fail, then once for each n
// with the n-th call of that operation failing, and once with every call
// from the n-th on failing. Each run must end without a crash, with the
// runtime's live counts back at their baseline, and either whole (the same
// result as without faults) or with a failure the component can see: a
// report, an error returned, or an exception of ValidateSchema.
#ifndef MOXUTILS_TESTS_BLACKBOX_FAULT_LOOP_H_
#define MOXUTILS_TESTS_BLACKBOX_FAULT_LOOP_H_

#include <string>
#include <vector>

#include "blackbox/foreign_library.h"

namespace moxtest {

// Objects made once for a whole loop, before its baseline.
struct FaultInputs {
  MOXContainer tree = nullptr;       // a tree of every class
  MOXContainer validator = nullptr;  // a validator of kSchema
  MOXContainer schema = nullptr;     // kSchema itself
  MOXContainer goodValue = nullptr;  // valid for "Doc"
  MOXContainer badValue = nullptr;   // invalid for "Doc", four lines
};

// One run of a scenario: what it made, what it saw, and what failed in its
// sight.
class FaultRun {
 public:
  FaultRun(const POSProcs& procs, const FaultInputs& inputs) : p(procs), in(inputs) {}
  ~FaultRun();
  FaultRun(const FaultRun&) = delete;
  FaultRun& operator=(const FaultRun&) = delete;

  // Keeps `object` (if any) until the run is over, and returns it.
  MOXContainer Own(MOXContainer object);
  // An error the component was given: noted as a failure, and released.
  // True when there was one.
  bool Failed(MOXErrorRef error);
  void Failed(const std::string& what) { failures.push_back(what); }

  const POSProcs& p;
  const FaultInputs& in;
  // The result: an object (owned by the run; compared with IsEqual both
  // ways) and everything else as text.
  MOXContainer object = nullptr;
  std::string text;
  Strings failures;
  // Set by a scenario while a failure would leave its accepted leak (a file
  // in the temporary directory) behind: only then may files remain.
  bool mayLeaveFiles = false;

 private:
  std::vector<MOXContainer> owned_;
};

struct FaultScenario {
  const char* name;
  void (*run)(FaultRun& r);
  // A fault may end in the neutral result with no report: DeepGet's walk
  // takes every failure of a step for a miss.
  bool quiet;
  // What the scenario may leave behind on purpose, and when; null for
  // nothing.
  const char* acceptedLeak;
};

extern const std::vector<FaultScenario> kFaultCatalogue;

// Raw pointers made by the scenarios, with a release procedure that counts
// its calls: an object handed back is released exactly once, and one that
// its creation destroyed again at most once.
struct RawPointerProbe {
  static MOXContainer New(const POSProcs& p);
  static void Reset() { attempts = made = released = 0; }
  static int attempts, made, released;
};

// A schema and the text of the tree of FaultInputs.
extern const char kFaultSchema[];
extern const char kFaultTree[];

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_BLACKBOX_FAULT_LOOP_H_
