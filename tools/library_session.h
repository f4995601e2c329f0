// posctl's session with libMOXUtils: starts the reference runtime, loads the
// library through it as any host does, and fetches every procedure it calls
// with the runtime's lookup procedure. Nothing of the library is linked.
#ifndef POSCTL_LIBRARY_SESSION_H_
#define POSCTL_LIBRARY_SESSION_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MOXRuntimeProcs.h"
#include "moxhost/component_procs.h"

namespace moxhost {
class LoadedLibrary;
}

namespace posctl {

// The procedures posctl calls, fetched by name as any component fetches them.
using Procs = moxhost::ComponentProcs;

class LibrarySession {
 public:
  // Throws ToolError with kExitLibrary when the library can't be loaded or
  // started, or lacks a procedure posctl needs.
  LibrarySession();
  ~LibrarySession();
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;

  const Procs& procs() const { return procs_; }

  // With --verbose, what the library sends to MOXReportError is shown as
  // "posctl: libMOXUtils: TEXT"; otherwise posctl says in its own words what
  // went wrong, and the library's text is only shown where posctl has none.
  static void SetVerbose(bool verbose);

  // Reports the library sent to MOXReportError from now on, on this
  // thread's account. The runtime keeps one log for the process: with other
  // threads at work, what they report is collected too.
  void StartCollectingReports();
  std::vector<std::string> CollectedReports() const;
  // The number of reports so far, and those from the `first` on.
  static size_t ReportCount();
  static std::vector<std::string> ReportsFrom(size_t first);
  static bool IsVerbose();
  // Takes the reports so far as shown: the caller has shown them as it
  // should.
  void MarkReportsShown() { reportsShown_ = ReportCount(); }
  // With --verbose, prints the reports not shown yet. The session does this
  // when it ends too, so that they come before the message of a failure.
  void ShowReports();

  // The text of a runtime error, which is released.
  std::string TakeErrorText(MOXErrorRef error) const;

 private:
  void BindAll();
  std::unique_ptr<moxhost::LoadedLibrary> library_;
  Procs procs_;
  size_t reportsShown_ = 0;
};

// "1.1.1 (65793)" from MOXUtilsGetVersion, read without starting the
// library; a sentence saying why when the library can't be loaded.
std::string DescribeLibraryVersion();

// Holds one reference to a container and gives it back at destruction.
class Ref {
 public:
  Ref() = default;
  // Takes a reference to `container`, which may be null.
  Ref(const Procs& procs, MOXContainer container);
  Ref(const Ref& other);
  Ref(Ref&& other) noexcept
      : procs_(other.procs_), container_(std::exchange(other.container_, nullptr)) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(procs_, other.procs_);
    std::swap(container_, other.container_);
    return *this;
  }
  ~Ref();

  MOXContainer get() const { return container_; }
  explicit operator bool() const { return container_ != nullptr; }

 private:
  const Procs* procs_ = nullptr;
  MOXContainer container_ = nullptr;
};

// A string atom of the runtime, held for the scope.
class Atom {
 public:
  Atom(const Procs& procs, const char* text);
  ~Atom();
  Atom(const Atom&) = delete;
  Atom& operator=(const Atom&) = delete;
  MOXStringAtom get() const { return atom_; }

 private:
  const Procs& procs_;
  MOXStringAtom atom_;
};

}  // namespace posctl

#endif  // POSCTL_LIBRARY_SESSION_H_
