// The start of the targets that link the library's layers directly.
#include <cstdlib>

#include "MOXUtils.h"
#include "fuzz_session.h"

namespace moxfuzz {

const Procs& Start(const char* target, void (*warm)(const Procs&)) {
  static Procs procs;
  static const bool started = [&] {
    const MOXLookupProc lookup = moxhost::Runtime::LookupProc();
    if (MOXUtilsInitialize(lookup) != 1) Fail("the library did not start", "");
    std::vector<std::string> missing;
    if (!procs.Load(lookup, &missing)) Fail("a procedure is missing", missing.front());
    // Stopped at exit, as a host would, so that the leak check at exit sees
    // only what an input left behind.
    std::atexit([] { MOXUtilsTerminate(); });
    if (warm != nullptr) warm(procs);
    TakeBaseline(target);
    return true;
  }();
  (void)started;
  return procs;
}

}  // namespace moxfuzz
