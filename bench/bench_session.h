// The library loaded through the reference runtime, with the procedures the
// benchmarks call, fetched by name as any component would.
#ifndef MOXUTILS_BENCH_BENCH_SESSION_H_
#define MOXUTILS_BENCH_BENCH_SESSION_H_

#include "moxhost/component_procs.h"

namespace moxbench {

using Procs = moxhost::ComponentProcs;

// Starts the runtime and the library once for the process; aborts with a
// message when either can't be had.
const Procs& Session();
// Stops the library and unloads it; every object must have been let go.
void EndSession();

// Takes a reference to an unowned result, as a component that keeps it does.
inline MOXContainer Keep(MOXContainer object) {
  Session().container.AddRef(object);
  return object;
}

// Seeks a runtime stream back to its start, through its own Seek method.
void Rewind(MOXContainer stream);

// Holds a reference for the life of a scope.
struct Held {
  explicit Held(MOXContainer object) : object(Keep(object)) {}
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() { Session().container.Release(object); }
  MOXContainer object;
};

}  // namespace moxbench

#endif  // MOXUTILS_BENCH_BENCH_SESSION_H_
