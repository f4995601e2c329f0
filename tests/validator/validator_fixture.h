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
#include "moxhost/Runtime.h"
#include "pos/pos_client.h"
#include "support/LiveCounts.h"
#include "validator/struct_validator.h"
#include "validator/validator_interface.h"

namespace moxtest {

using namespace MOX_T_MT;
using NPOSValidatorImpl::StructValidator;
using Lines = std::vector<std::string>;

// Where CollectLine puts the lines of the calling thread.
inline thread_local Lines* tLineSink = nullptr;
inline void CollectLine(const char* line) {
  if (tLineSink != nullptr) tLineSink->push_back(line);
}

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

  // The object of `text` in the notation. What the notation can't write:
  // "@ptr" is a raw pointer, "@nan" a NaN, "@bin:TYPE:SIZE" a block of SIZE
  // bytes.
  static CPOSObject Parse(const std::string& text) {
    if (text == "@ptr") return CPOSRawPointer::New(const_cast<char*>("p"), nullptr);
    if (text == "@nan") return CPOSNumber::New(std::nan(""));
    if (text.rfind("@bin:", 0) == 0) {
      const size_t colon = text.rfind(':');
      const std::string type = text.substr(5, colon - 5);
      const std::string bytes(std::strtoul(text.c_str() + colon + 1, nullptr, 10), 'b');
      return CPOSBinData::New(type.c_str(), bytes.data(), bytes.size());
    }
    CPOSObject object = CPOSObjectStatics::CreateFromText(text.c_str());
    EXPECT_FALSE(object.IsEmpty()) << "not well formed: " << text;
    return object;
  }

  // A validator of the schema `text`, made through its entry point.
  static CMOXContainerRef NewValidator(const std::string& text) {
    return CMOXContainerRef(NPOSValidatorImpl::NewPOSStructValidatorEntry(Parse(text).Get()));
  }

  // Walks `value` against `type`: once through CheckType with a list of its
  // own for the count, once through the Validate entry for the lines.
  static Outcome Run(const CMOXContainerRef& validator, const CPOSDict& schema,
                     const std::string& type, const CPOSObject& value) {
    Outcome outcome;
    StructValidator* instance = StructValidator::TryFromContainer(validator.Get());
    try {
      outcome.count =
          instance->CheckType(schema, CMOXStringHolder(type.c_str()), value, CPOSArray::New());
    } catch (const std::exception&) {
      outcome.count = -1;
    }
    TakeReports();
    outcome.valid = Validate(validator, type, value, &outcome.lines);
    outcome.reports = TakeReports();
    return outcome;
  }
  static Outcome Run(const std::string& schema, const std::string& type, const CPOSObject& value) {
    CPOSDict dict(Parse(schema));
    CMOXContainerRef validator(NPOSValidatorImpl::NewPOSStructValidatorEntry(dict.fContainer));
    return Run(validator, dict, type, value);
  }
  static Outcome Run(const std::string& schema, const std::string& type, const std::string& value) {
    return Run(schema, type, Parse(value));
  }

  // The Validate entry with CollectLine as the error procedure.
  static bool Validate(const CMOXContainerRef& validator, const std::string& type,
                       const CPOSObject& value, Lines* lines) {
    tLineSink = lines;
    const CMOXStringHolder name(type.c_str());
    const bool valid = NPOSValidatorImpl::ValidateEntry(validator.Get(), value.Get(), name.fAtom,
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
      outcome.valid = NPOSValidatorImpl::ValidateSchemaEntry(schema.Get(), &CollectLine);
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

// One walk of a table: the schema, the type name and the value in the
// notation, and what must come of it. A count of -1 means that the walk
// raises, and then `lines` holds what MOXReportError gets instead.
struct WalkCase {
  const char* schema;
  const char* type;
  const char* value;
  int32_t count;
  Lines lines;
};

inline std::ostream& operator<<(std::ostream& os, const WalkCase& c) {
  return os << c.schema << " " << c.type << " on " << c.value;
}

// Checks one row: valid exactly when the count is 0; on failure the lines in
// order, or the report of the exception that ended the walk.
#define EXPECT_WALK(row)                                  \
  do {                                                    \
    const WalkCase& c_ = (row);                           \
    SCOPED_TRACE(::testing::PrintToString(c_));           \
    const Outcome o_ = Run(c_.schema, c_.type, c_.value); \
    EXPECT_EQ(o_.count, c_.count) << o_;                  \
    EXPECT_EQ(o_.valid, c_.count == 0) << o_;             \
    if (c_.count >= 0) {                                  \
      EXPECT_EQ(o_.lines, c_.lines) << o_;                \
      EXPECT_EQ(o_.reports, Lines{}) << o_;               \
    } else {                                              \
      EXPECT_EQ(o_.lines, Lines{}) << o_;                 \
      EXPECT_EQ(o_.reports, c_.lines) << o_;              \
    }                                                     \
  } while (0)

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_VALIDATOR_VALIDATOR_FIXTURE_H_
