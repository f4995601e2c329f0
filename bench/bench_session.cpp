#include "bench_session.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "moxhost/runtime.h"

namespace moxbench {

namespace {

moxhost::LoadedLibrary* gLibrary = nullptr;

Procs Load() {
  std::string error;
  gLibrary =
      moxhost::LoadedLibrary::Open(moxhost::LoadedLibrary::Locate({MOX_BUILT_LIBRARY_DIR}), &error);
  if (gLibrary == nullptr || !gLibrary->Start()) {
    std::fprintf(stderr, "pos_bench: can't start libMOXUtils: %s\n", error.c_str());
    std::exit(2);
  }
  moxhost::Runtime::Get().EchoReportsTo(stderr);
  Procs p;
  std::vector<std::string> missing;
  if (!p.Load(moxhost::Runtime::LookupProc(), &missing)) {
    std::fprintf(stderr, "pos_bench: %s is not registered\n", missing.front().c_str());
    std::exit(2);
  }
  return p;
}

}  // namespace

const Procs& Session() {
  static const Procs procs = Load();
  return procs;
}

void Rewind(MOXContainer stream) {
  typedef MOXErrorRef (*SeekProc)(MOXContainer, int64_t, int32_t);
  const Procs& p = Session();
  static const SeekProc seek = [&p, stream] {
    MOXStringAtom name = p.string.NewStringAtom("Seek");
    MOXStringAtom type = p.string.NewStringAtom("MOXPositionableStreamSeekProc");
    void* proc = nullptr;
    p.container.GetMethod(&proc, stream, name, type, true);
    p.string.DeleteStringAtom(name);
    p.string.DeleteStringAtom(type);
    return reinterpret_cast<SeekProc>(proc);
  }();
  seek(stream, 0, 0);
}

void EndSession() {
  delete gLibrary;  // stops the library and unloads it
  gLibrary = nullptr;
}

}  // namespace moxbench
