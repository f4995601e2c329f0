// Parses arbitrary text with CreateFromText. Whatever the text, the parse
// must give an object or a syntax error with a place inside the text, report
// nothing, and leave no object alive once its result is destroyed.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "MOXRuntimeProcs.h"
#include "MOXUtils.h"
#include "POSProcs.h"
#include "moxhost/runtime.h"

namespace {

struct Library {
  POSObjectCreateFromTextProc createFromText = nullptr;
  MOXDeleteUnownedContainerProc deleteUnowned = nullptr;
};

// The live counts between two inputs, once the library is warm.
moxhost::LiveCounts gBaseline;

[[noreturn]] void Fail(const char* what, const std::string& text) {
  std::fprintf(stderr, "text_parser_fuzz: %s\n  text: \"%s\"\n", what, text.c_str());
  for (const std::string& report : moxhost::Runtime::Get().Reports()) {
    std::fprintf(stderr, "  report: %s\n", report.c_str());
  }
  std::fprintf(stderr, "  live: %s\n  baseline: %s\n",
               moxhost::Runtime::Get().Counts().ToString().c_str(), gBaseline.ToString().c_str());
  std::abort();
}

// Started once for the whole run; the library stays up until the process
// ends, as in a host.
const Library& Started() {
  static const Library library = [] {
    Library lib;
    MOXLookupProc lookup = moxhost::Runtime::LookupProc();
    if (MOXUtilsInitialize(lookup) != 1) Fail("the library did not start", "");
    lib.createFromText = reinterpret_cast<POSObjectCreateFromTextProc>(
        lookup("POSObjectStatics", "CreateFromText", "POSObjectCreateFromTextProc"));
    lib.deleteUnowned = reinterpret_cast<MOXDeleteUnownedContainerProc>(
        lookup("MOXContainerInterface", "DeleteUnownedContainer", "MOXDeleteUnownedContainerProc"));
    if (lib.createFromText == nullptr || lib.deleteUnowned == nullptr) {
      Fail("CreateFromText is not registered", "");
    }
    // Objects of every class once, so that the library's method-table caches,
    // which live until the stop, are filled before the baseline is taken.
    lib.deleteUnowned(lib.createFromText("<a [1 `0041` (b)]>", nullptr));
    moxhost::Runtime::Get().ClearReports();
    gBaseline = moxhost::Runtime::Get().Counts();
    return lib;
  }();
  return library;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Library& lib = Started();
  moxhost::Runtime& rt = moxhost::Runtime::Get();
  // The notation is read up to its NUL. The byte after a NUL inside the
  // input, if any, names an allocation of the parse to fail, so that the ways
  // out of arbitrary texts under exhaustion are explored too.
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* const begin = text.c_str();
  const char* const end = begin + std::strlen(begin);
  const unsigned failAt = end < begin + size ? static_cast<unsigned char>(end[1]) : 0;

  rt.ClearReports();
  rt.FailNthAllocation(failAt);
  const char* position = begin;
  MOXContainer object = lib.createFromText(begin, &position);
  rt.ClearFaults();
  const bool reported = !rt.Reports().empty();
  if (object != nullptr) {
    if (position != nullptr) Fail("a successful parse left a position", text);
    lib.deleteUnowned(object);
  } else if (position == nullptr) {
    // Not a syntax error: then the failure must have been reported.
    if (!reported) Fail("a parse failed without a position or a report", text);
  } else if (position < begin || position > end) {
    Fail("a failed parse gave a position outside the text", text);
  }
  if (reported && failAt == 0) Fail("a parse reported", text);
  if (rt.Counts() != gBaseline) Fail("a parse left objects alive", text);
  return 0;
}
