// Parses arbitrary text with CreateFromText, however deep. Whatever the text,
// the parse must give an object or a syntax error with a place inside the
// text, report nothing but a text too deep for the stack, and leave no
// object alive once its result is released.
//
// The byte after a NUL inside the input, if any, names an allocation of the
// parse to fail, so that the ways out of arbitrary texts under exhaustion
// are explored too.
#include <cstring>

#include "fuzz_session.h"

using namespace moxfuzz;

namespace {

// Objects of every class once: the library's method tables live until the
// stop.
void Warm(const Procs& p) {
  p.container.DeleteUnownedContainer(Parse(p, "<a [1 `0041` (b)]>"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Procs& p = Start("text_parser_fuzz", &Warm);
  moxhost::Runtime& rt = moxhost::Runtime::Get();
  const std::string text = Text(data, size);
  const char* const begin = text.c_str();
  const char* const end = begin + std::strlen(begin);
  const unsigned failAt = end < begin + size ? static_cast<unsigned char>(end[1]) : 0;

  rt.FailNthAllocation(failAt);
  const char* position = begin;
  MOXContainer object = p.posStatics.CreateFromText(begin, &position);
  rt.ClearFaults();
  const Strings reports = TakeReports();
  if (object != nullptr) {
    if (position != nullptr) Fail("a successful parse left a position", text);
    p.container.DeleteUnownedContainer(object);
  } else if (position == nullptr) {
    // Not a syntax error: then the failure must have been reported.
    if (reports.empty()) Fail("a parse failed without a position or a report", text);
  } else if (position < begin || position > end) {
    Fail("a failed parse gave a position outside the text", text);
  }
  const bool tooDeep = reports == Strings{"nesting too deep for the stack"};
  if (!reports.empty() && failAt == 0 && !tooDeep) Fail("a parse reported", text);
  CheckCounts(text);
  return 0;
}
