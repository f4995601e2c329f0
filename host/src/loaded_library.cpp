// libMOXUtils loaded at run time, as a host loads any component.
#include <dlfcn.h>

#include <cstdlib>

#include "moxhost/runtime.h"

namespace moxhost {

std::string LoadedLibrary::DefaultPath() {
  const char* overridden = std::getenv("MOXUTILS_LIBRARY");
  if (overridden != nullptr && overridden[0] != '\0') return overridden;
  return MOXHOST_DEFAULT_LIBRARY;
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
