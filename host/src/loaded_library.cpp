// libMOXUtils loaded at run time, as a host loads any component.
#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdlib>

#include "moxhost/runtime.h"

namespace moxhost {
namespace {

// The directory of the running program, with symbolic links resolved; empty
// when the kernel doesn't say.
std::string ExecutableDirectory() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0 || static_cast<size_t>(length) >= sizeof path) return "";
  const std::string program(path, static_cast<size_t>(length));
  return program.substr(0, program.rfind('/'));
}

}  // namespace

std::string LoadedLibrary::FileName() {
  return MOXHOST_LIBRARY_FILE_NAME;
}

std::string LoadedLibrary::Locate(const std::vector<std::string>& directories) {
  const char* chosen = std::getenv("MOXUTILS_LIBRARY");
  if (chosen != nullptr && chosen[0] != '\0') return chosen;
  const std::string here = ExecutableDirectory();
  for (const std::string& directory : directories) {
    if (directory.empty()) continue;
    if (directory[0] != '/' && here.empty()) continue;
    const std::string path =
        (directory[0] == '/' ? directory : here + "/" + directory) + "/" + FileName();
    if (access(path.c_str(), R_OK) == 0) return path;
  }
  return FileName();
}

LoadedLibrary* LoadedLibrary::Open(const std::string& path, std::string* error) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    if (error != nullptr) *error = dlerror();
    return nullptr;
  }
  auto* library = new LoadedLibrary;
  library->handle_ = handle;
  // The exports are bound by version, so a library built against another
  // version node is refused rather than half-bound.
  void* getVersion = dlvsym(handle, "MOXUtilsGetVersion", "VERSION");
  void* initialize = dlvsym(handle, "MOXUtilsInitialize", "VERSION");
  void* terminate = dlvsym(handle, "MOXUtilsTerminate", "VERSION");
  if (getVersion == nullptr || initialize == nullptr || terminate == nullptr) {
    if (error != nullptr) {
      *error = path + ": missing export " +
               (getVersion == nullptr   ? "MOXUtilsGetVersion"
                : initialize == nullptr ? "MOXUtilsInitialize"
                                        : "MOXUtilsTerminate") +
               "@VERSION";
    }
    delete library;  // unloads
    return nullptr;
  }
  library->getVersion_ = reinterpret_cast<uint32_t (*)(void)>(getVersion);
  library->initialize_ = reinterpret_cast<uint32_t (*)(MOXLookupProc)>(initialize);
  library->terminate_ = reinterpret_cast<void (*)(void)>(terminate);
  return library;
}

LoadedLibrary::~LoadedLibrary() {
  Unload();
}

uint32_t LoadedLibrary::Version() const {
  return getVersion_ != nullptr ? getVersion_() : 0;
}

bool LoadedLibrary::Start() {
  return StartWith(Runtime::LookupProc()) != 0;
}

// A failed start leaves the library needing MOXUtilsTerminate before it can
// start again, so it counts as started for Stop and Unload.
uint32_t LoadedLibrary::StartWith(MOXLookupProc lookup) {
  if (initialize_ == nullptr) return 0;
  started_ = true;
  return initialize_(lookup);
}

void LoadedLibrary::Stop() {
  if (terminate_ != nullptr) terminate_();
  started_ = false;
}

void LoadedLibrary::Unload() {
  if (handle_ == nullptr) return;
  if (started_) Stop();
  UnloadWithoutStop();
}

void LoadedLibrary::UnloadWithoutStop() {
  if (handle_ == nullptr) return;
  started_ = false;
  dlclose(handle_);
  handle_ = nullptr;
  getVersion_ = nullptr;
  initialize_ = nullptr;
  terminate_ = nullptr;
}

}  // namespace moxhost
