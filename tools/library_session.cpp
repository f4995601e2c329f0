#include "library_session.h"

#include <cstdio>
#include <new>

#include "diagnostics.h"
#include "moxhost/runtime.h"

namespace posctl {
namespace {

bool gVerbose = false;

std::string FormatVersion(uint32_t version) {
  return std::to_string((version >> 16) & 0xFF) + "." + std::to_string((version >> 8) & 0xFF) +
         "." + std::to_string(version & 0xFF) + " (" + std::to_string(version) + ")";
}

// MOXUTILS_LIBRARY when set; else the copy beside posctl: where an install
// puts it, then where the build tree has it. Both are relative to posctl's
// own directory, so a moved or packaged tree keeps working.
std::string LibraryPath() {
  return moxhost::LoadedLibrary::Locate({POSCTL_INSTALLED_LIBRARY_DIR, POSCTL_BUILT_LIBRARY_DIR});
}

std::unique_ptr<moxhost::LoadedLibrary> OpenLibrary() {
  std::string error;
  const std::string path = LibraryPath();
  std::unique_ptr<moxhost::LoadedLibrary> library(moxhost::LoadedLibrary::Open(path, &error));
  if (!library) {
    throw ToolError(kExitLibrary, "posctl: error: cannot load libMOXUtils: " + error +
                                      " (set MOXUTILS_LIBRARY to its path)");
  }
  return library;
}

}  // namespace

LibrarySession::LibrarySession() {
  moxhost::Runtime& runtime = moxhost::Runtime::Get();
  runtime.EchoReportsTo(nullptr);
  reportsShown_ = runtime.Reports().size();
  library_ = OpenLibrary();
  if (!library_->Start()) {
    throw ToolError(kExitLibrary, "posctl: error: libMOXUtils did not start");
  }
  BindAll();
}

LibrarySession::~LibrarySession() {
  library_.reset();
  ShowReports();
}

void LibrarySession::SetVerbose(bool verbose) {
  gVerbose = verbose;
}

void LibrarySession::ShowReports() {
  const std::vector<std::string> all = moxhost::Runtime::Get().Reports();
  for (; reportsShown_ < all.size(); ++reportsShown_) {
    if (gVerbose) std::fprintf(stderr, "posctl: libMOXUtils: %s\n", all[reportsShown_].c_str());
  }
}

void LibrarySession::BindAll() {
  std::vector<std::string> missing;
  if (!procs_.Load(moxhost::Runtime::LookupProc(), &missing)) {
    std::string list;
    for (const std::string& name : missing) list += (list.empty() ? "" : ", ") + name;
    throw ToolError(kExitLibrary, "posctl: error: the runtime has no procedure for " + list +
                                      " (is libMOXUtils complete?)");
  }
}

void LibrarySession::StartCollectingReports() {
  reportsBefore_ = moxhost::Runtime::Get().Reports().size();
}

std::vector<std::string> LibrarySession::CollectedReports() const {
  std::vector<std::string> all = moxhost::Runtime::Get().Reports();
  if (reportsBefore_ >= all.size()) return {};
  return std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(reportsBefore_),
                                  all.end());
}

std::string LibrarySession::TakeErrorText(MOXErrorRef error) const {
  if (error == nullptr) return "";
  MOXStringAtom message = procs_.error.GetErrorMessage(error);
  std::string text =
      message != nullptr ? procs_.string.GetCString(message) : "unknown runtime error";
  procs_.error.Release(error);
  return text;
}

std::string DescribeLibraryVersion() {
  std::string error;
  const std::string path = LibraryPath();
  std::unique_ptr<moxhost::LoadedLibrary> library(moxhost::LoadedLibrary::Open(path, &error));
  if (!library) return "not loaded: " + error;
  return FormatVersion(library->Version());
}

Ref::Ref(const Procs& procs, MOXContainer container) : procs_(&procs), container_(container) {
  if (container_ != nullptr && procs_->container.AddRef(container_) == 0) {
    throw std::runtime_error("the runtime refused a reference to a container");
  }
}

Ref::Ref(const Ref& other) : procs_(other.procs_) {
  if (other.container_ != nullptr) *this = Ref(*procs_, other.container_);
}

Ref::~Ref() {
  if (container_ != nullptr) procs_->container.Release(container_);
}

Atom::Atom(const Procs& procs, const char* text)
    : procs_(procs), atom_(procs.string.NewStringAtom(text)) {
  if (atom_ == nullptr) throw std::bad_alloc();
}

Atom::~Atom() {
  procs_.string.DeleteStringAtom(atom_);
}

}  // namespace posctl
