// A started library for the validator's tests. Schemas and values are written
// in the text notation; Run gives what a walk found three ways at once: the
// count that CheckType returns, the lines that reach an error procedure, and
// what went to MOXReportError. Every test must give back what it took.
#ifndef MOXUTILS_TESTS_VALIDATOR_VALIDATOR_FIXTURE_H_
#define MOXUTILS_TESTS_VALIDATOR_VALIDATOR_FIXTURE_H_

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "MOXUtils.h"
#include "moxhost/runtime.h"
#include "pos/pos_client.h"
#include "support/live_counts.h"
#include "validator/struct_validator.h"
#include "validator/validator_interface.h"

namespace moxtest {

using namespace MOX_T_MT;
using NPOSValidatorImpl::StructValidator;
namespace StructEntries = NPOSValidatorImpl::POSStructValidatorEntries;
namespace ValidatorEntries = NPOSValidatorImpl::POSValidatorEntries;
using Lines = std::vector<std::string>;

// Where CollectLine puts the lines of the calling thread.
inline thread_local Lines* tLineSink = nullptr;
inline void CollectLine(const char* line) {
  if (tLineSink != nullptr) tLineSink->push_back(line);
}

// The schemas of the two documented examples, and Doc, which holds both
// under a dictionary, for the tests that need a value with faults of every
// kind at once.
inline const char kPointSchema[] =
    "< Point < category dict required < x real > optional < y Small > >"
    "  Small < category int max 9 > >";
inline const char kListSchema[] =
    "< List < category array membertype Item >"
    "  Item < category union set [ int Name ] >"
    "  Name < category string minlen 2 > >";
inline const char kDocSchema[] =
    "< Doc < category dict required < list List > optional < point Point > >"
    "  List < category array membertype Item >"
    "  Item < category union set [ int Name ] >"
    "  Name < category string minlen 2 >"
    "  Point < category dict required < x real > optional < y Small > >"
    "  Small < category int max 9 > >";

// What one walk gave.
struct Outcome {
  int32_t count = 0;  // CheckType's result; -1 when it raised
  bool valid = false;
  Lines lines;    // as the error procedure received them
  Lines reports;  // as MOXReportError received them
};

inline std::ostream& operator<<(std::ostream& os, const Outcome& o) {
  os << "count " << o.count << (o.valid ? " valid" : " invalid");
  for (const std::string& line : o.lines) os << "\n  line: " << line;
  for (const std::string& report : o.reports) os << "\n  report: " << report;
  return os;
}

// One walk of a table: the schema, the type name and the value in the
// notation, and what must come of it: the count, and the lines, each ended
// by a line feed but the last. A count of -1 means that the walk raises, and
// then `lines` is what MOXReportError gets instead.
struct WalkCase {
  const char* schema;
  const char* type;
  const char* value;
  int32_t count;
  const char* lines;
};

// "a\nb" as {"a", "b"}; "" as no line at all.
inline Lines SplitLines(const std::string& text) {
  Lines lines;
  for (size_t start = 0; !text.empty();) {
    const size_t end = text.find('\n', start);
    lines.push_back(text.substr(start, end - start));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return lines;
}

inline std::ostream& operator<<(std::ostream& os, const WalkCase& c) {
  return os << c.schema << " " << c.type << " on " << c.value;
}

class ValidatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    moxhost::Runtime::Get().ClearFaults();
    before_ = moxhost::Runtime::Get().Counts();
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
    // A first walk fills the method tables and binds the shared buffers.
    Run("< A < category array membertype real > >", "A", "[1 x]");
    TakeReports();
    started_ = moxhost::Runtime::Get().Counts();
  }

  void TearDown() override {
    moxhost::Runtime::Get().ClearFaults();
    EXPECT_EQ(CountsDiff(started_, moxhost::Runtime::Get().Counts()), "");
    MOXUtilsTerminate();
    EXPECT_EQ(CountsDiff(before_, moxhost::Runtime::Get().Counts()), "");
  }

  // The object of `text` in the notation, or what the notation can't write:
  // "@empty" no object, "@ptr" a raw pointer, "@nan" a NaN, "@hole" an array
  // whose first member is a hole, "@bin:TYPE:SIZE" a block of SIZE bytes.
  static CPOSObject Parse(const std::string& text) {
    if (text == "@empty") return CPOSObject();
    if (text == "@ptr") return CPOSRawPointer::New(const_cast<char*>("p"), nullptr);
    if (text == "@nan") return CPOSNumber::New(std::nan(""));
    if (text == "@hole") {
      CPOSArray array = CPOSArray::New();
      reinterpret_cast<POSArraySetAtProc>(
          moxhost::Runtime::LookupProc()("POSArrayInterface", "SetAt", "POSArraySetAtProc"))(
          array.Container(), 1, CPOSNumber::New(1).Container());
      return array;
    }
    if (text.rfind("@bin:", 0) == 0) {
      const size_t colon = text.rfind(':');
      const std::string bytes(std::strtoul(text.c_str() + colon + 1, nullptr, 10), 'b');
      return CPOSBinData::New(text.substr(5, colon - 5).c_str(), bytes.data(), bytes.size());
    }
    CPOSObject object = CPOSObjectStatics::CreateFromText(text.c_str());
    EXPECT_FALSE(object.IsEmpty()) << "not well formed: " << text;
    return object;
  }

  // A validator of the schema `text`, made through its entry point.
  static CMOXContainerRef NewValidator(const std::string& text) {
    return CMOXContainerRef(StructEntries::NewPOSStructValidator(Parse(text).Container()));
  }

  // Walks `value` against `type`: once through CheckType for the count, once
  // through the Validate entry for the lines and reports (an empty value,
  // which the entry refuses, goes to the validator itself).
  static Outcome Run(const std::string& schema, const std::string& type, const CPOSObject& value) {
    const CPOSDict dict(Parse(schema));
    const CMOXContainerRef validator(StructEntries::NewPOSStructValidator(dict.Container()));
    const CMOXStringHolder name(type.c_str());
    const StructValidator* instance = StructValidator::TryFromContainer(validator.Container());
    Outcome o;
    try {
      o.count = instance->CheckType(dict, name, value, CPOSArray::New());
    } catch (const std::exception&) {
      o.count = -1;
    }
    TakeReports();
    if (value.IsEmpty()) {
      tLineSink = &o.lines;
      o.valid = instance->Validate(value, name, &CollectLine);
      tLineSink = nullptr;
    } else {
      o.valid = Validate(validator, type, value, &o.lines);
    }
    o.reports = TakeReports();
    return o;
  }
  static Outcome Run(const std::string& schema, const std::string& type, const std::string& value) {
    return Run(schema, type, Parse(value));
  }

  // Checks each row: valid exactly when the count is 0; on failure the lines
  // in order, or the report of the exception that ended the walk.
  static void ExpectWalks(const WalkCase* cases, size_t count) {
    for (const WalkCase& c : std::vector<WalkCase>(cases, cases + count)) {
      SCOPED_TRACE(::testing::PrintToString(c));
      const Outcome o = Run(c.schema, c.type, c.value);
      EXPECT_EQ(o.count, c.count) << o;
      EXPECT_EQ(o.valid, c.count == 0) << o;
      EXPECT_EQ(o.lines, c.count >= 0 ? SplitLines(c.lines) : Lines{}) << o;
      EXPECT_EQ(o.reports, c.count >= 0 ? Lines{} : SplitLines(c.lines)) << o;
    }
  }
  template <size_t N>
  static void ExpectWalks(const WalkCase (&cases)[N]) {
    ExpectWalks(cases, N);
  }

  // The Validate entry with CollectLine as the error procedure.
  static bool Validate(const CMOXContainerRef& validator, const std::string& type,
                       const CPOSObject& value, Lines* lines) {
    tLineSink = lines;
    const CMOXStringHolder name(type.c_str());
    const bool valid =
        ValidatorEntries::Validate(validator.Container(), value.Container(), name.Atom(),
                                   lines != nullptr ? &CollectLine : nullptr);
    tLineSink = nullptr;
    return valid;
  }

  // The ValidateSchema entry on the schema `text`; what it raised goes to
  // `raised`.
  static Outcome ValidateSchema(const CPOSObject& schema, std::string* raised = nullptr) {
    Outcome outcome;
    tLineSink = &outcome.lines;
    try {
      outcome.valid = StructEntries::ValidateSchema(schema.Container(), &CollectLine);
    } catch (const std::exception& e) {
      outcome.count = -1;
      if (raised != nullptr) *raised = e.what();
    }
    tLineSink = nullptr;
    outcome.reports = TakeReports();
    return outcome;
  }
  static Outcome ValidateSchema(const std::string& text, std::string* raised = nullptr) {
    return ValidateSchema(Parse(text), raised);
  }

  // The reports since the last call, oldest first.
  static Lines TakeReports() {
    Lines reports = moxhost::Runtime::Get().Reports();
    moxhost::Runtime::Get().ClearReports();
    return reports;
  }

  moxhost::LiveCounts before_;
  moxhost::LiveCounts started_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_VALIDATOR_VALIDATOR_FIXTURE_H_
