// libMOXUtils.so loaded with dlopen and started, as a host loads it, and the
// procedures a foreign component fetches through the lookup procedure.
//
// SetUp fills the library's method-table caches (they live until the stop)
// and takes the baseline of the runtime's live counts; TearDown checks that
// the test gave everything back, then stops and unloads the library and
// checks again.
#ifndef MOXUTILS_TESTS_BLACKBOX_FOREIGN_LIBRARY_H_
#define MOXUTILS_TESTS_BLACKBOX_FOREIGN_LIBRARY_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "blackbox/pos_procs.h"
#include "moxhost/runtime.h"

namespace moxtest {

using Strings = std::vector<std::string>;

// A memory stream of the runtime, kept by this object, with the stream
// methods fetched from its container as a foreign component fetches them.
class MemoryStream {
 public:
  MemoryStream(const POSProcs& p, const std::string& bytes);
  ~MemoryStream();
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  MOXContainer Handle() const { return stream_; }
  int64_t Position() const;
  void Rewind() const;
  // Everything in the stream; leaves it at its end.
  std::string Contents() const;

 private:
  void* Method(const char* name, const char* procType) const;

  const POSProcs& p_;
  MOXContainer stream_ = nullptr;
  MOXSimpleStreamReadProc read_ = nullptr;
  MOXSimpleStreamWriteProc write_ = nullptr;
  MOXPositionableStreamMarkProc mark_ = nullptr;
  MOXPositionableStreamSeekProc seek_ = nullptr;
};

// Validate with a type name; the lines go to `lines` when given.
bool Validate(const POSProcs& p, MOXContainer validator, MOXContainer value, const char* type,
              Strings* lines = nullptr);
// ValidateSchema, whose exceptions reach the caller; the lines go to `lines`
// when given.
bool ValidateSchema(const POSProcs& p, MOXContainer schema, Strings* lines = nullptr);

// The library loaded and not started, for tests that start it themselves:
// TearDown unloads it and checks that the runtime's live counts are back at
// what they were before the load.
class LoadedForeignLibrary : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

 public:
  POSProcs p;
  std::unique_ptr<moxhost::LoadedLibrary> library_;
  moxhost::LiveCounts loaded_;
};

// The library loaded and started. Its helpers are public, so that tables of
// scenarios can reach them.
class ForeignLibrary : public LoadedForeignLibrary {
 protected:
  void SetUp() override;
  void TearDown() override;

 public:
  // The reports since the last call, oldest first.
  static Strings TakeReports();

  // CreateFromText, kept by the caller; null for a text that doesn't parse.
  MOXContainer Parse(const char* text) const;
  MOXContainer Parse(const std::string& text) const { return Parse(text.c_str()); }
  // A validator of the schema in `text`, kept by the caller.
  MOXContainer NewValidator(const char* schemaText) const;
  bool Validate(MOXContainer validator, MOXContainer value, const char* type,
                Strings* lines = nullptr) const {
    return moxtest::Validate(p, validator, value, type, lines);
  }
  bool ValidateSchema(MOXContainer schema, Strings* lines = nullptr) const {
    return moxtest::ValidateSchema(p, schema, lines);
  }

  moxhost::LiveCounts started_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_BLACKBOX_FOREIGN_LIBRARY_H_
