// What the fuzz targets share: the library started once for the whole run,
// as in a host, the procedures a foreign component fetches, and the checks
// that end each input. A failed check prints the input, the reports and the
// live counts, and aborts, which libFuzzer records as a crash.
#ifndef MOXUTILS_FUZZ_FUZZ_SESSION_H_
#define MOXUTILS_FUZZ_FUZZ_SESSION_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "moxhost/component_procs.h"
#include "moxhost/runtime.h"

namespace moxfuzz {

using Procs = moxhost::ComponentProcs;
using Strings = std::vector<std::string>;

// Starts the library (statically linked into the target) on first use and
// stops it at exit. `warm` runs once after the start, so that what the
// library keeps from first use on (method tables) is in the baseline of the
// live counts.
const Procs& Start(const char* target, void (*warm)(const Procs&));
// For a target that starts the library its own way: names the target and
// takes the baseline of the live counts now.
void TakeBaseline(const char* target);

// The input as text, for messages.
std::string Text(const uint8_t* data, size_t size);
// The input cut at its NUL bytes: at most `count` pieces, the last one
// holding the rest.
Strings Pieces(const uint8_t* data, size_t size, size_t count);

[[noreturn]] void Fail(const char* what, const std::string& input);
// The reports since the last call.
Strings TakeReports();
// Fails unless the live counts are back at the baseline.
void CheckCounts(const std::string& input);

// A kept object, released at the end of its scope.
class Kept {
 public:
  Kept(const Procs& p, MOXContainer object) : p_(p), object_(object) {
    if (object_ != nullptr) p_.container.AddRef(object_);
  }
  ~Kept() {
    if (object_ != nullptr) p_.container.Release(object_);
  }
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;
  MOXContainer get() const { return object_; }

 private:
  const Procs& p_;
  MOXContainer object_;
};

// CreateFromText; the object comes back unowned, or null.
inline MOXContainer Parse(const Procs& p, const std::string& text) {
  return p.posStatics.CreateFromText(text.c_str(), nullptr);
}

}  // namespace moxfuzz

#endif  // MOXUTILS_FUZZ_FUZZ_SESSION_H_
